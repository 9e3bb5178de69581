#include "cli/AddressSyntax.h"
#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/ImageList.h"
#include "cli/JsonWriter.h"
#include "cli/NameSearch.h"
#include "cli/ParallelSearch.h"
#include "cli/ProgressLine.h"
#include "tessary/HostTree.h"
#include "tessary/Text.h"

#include <atomic>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessary::cli {
namespace {

// "disk.hda: /Drums/KICK: preset 3: Big Kick", so that image and path stand at one place in each line.
std::string lineFor(const std::string &image, const NameMatch &match) {
  std::string line =
      escapedNameForDisplay(image) + ": " + escapedForDisplay(match.path) + ": " + wordFor(match.kind);
  if (match.index) line += " " + std::to_string(*match.index) + ": " + escapedNameForDisplay(match.name);
  return line;
}

void writeMatch(JsonWriter &writer, const std::string &image, const NameMatch &match) {
  writer.beginObject().member("image", image).member("path", match.path);
  writer.member("place", placeAddress(match.place)).member("kind", wordFor(match.kind));
  writer.member("name", match.name)
      .member("index", match.index ? nlohmann::json(*match.index) : nlohmann::json());
  writer.endObject();
}

class FindCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    words_ = words.several("PATTERN", 2,
                           "A part of the name, or the whole of it with * and ?; behind it the\n"
                           "images, and host folders that hold some");
    files_ = words.flag("--files", "Look for names of files");
    folders_ = words.flag("--folders", "Look for names of folders");
    presets_ = words.flag("--presets", "Look for names of presets");
    samples_ = words.flag("--samples", "Look for names of samples; for all four when none is named");
  }

  ExitStatus run(Session &session) override {
    std::vector<std::string> words = CommandWords::texts(words_);
    const SearchedName name(words.front());
    words.erase(words.begin());
    const std::vector<ListedImage> images = listImages(words);
    const SearchedKinds kinds = searchedKinds();
    std::atomic<bool> isToStop = false;
    ParallelSearch search(
        images.size(),
        [&](std::size_t i) -> ImageMatches {
          if (images[i].error) return {{}, images[i].error};
          return searchImage(images[i].path, session.rules, name, kinds, [&] { return isToStop.load(); });
        },
        isToStop);
    return answer(session, images, search);
  }

private:
  struct Found {
    std::string image;
    ImageMatches in;
  };

  [[nodiscard]] SearchedKinds searchedKinds() const {
    const SearchedKinds named{CommandWords::isGiven(files_), CommandWords::isGiven(folders_),
                              CommandWords::isGiven(presets_), CommandWords::isGiven(samples_)};
    const bool anyNamed = named.files || named.folders || named.presets || named.samples;
    return anyNamed ? named : SearchedKinds();
  }

  ExitStatus answer(Session &session, const std::vector<ListedImage> &images, ParallelSearch &search) const {
    ProgressLine progress(session.streams);
    ItemsProgress done{.items = images.size()};
    for (const ListedImage &image : images)
      done.bytes += sizeOfHostFile(image.path);
    std::vector<Found> all; // for the JSON answer alone
    bool anyFound = false;
    bool anyFailed = false;
    for (std::size_t i = 0; i < images.size() && !session.interrupted(); ++i) {
      progress.show(images[i].path, done);
      std::optional<ImageMatches> found;
      while (!found && !session.interrupted())
        found = search.takeIfFound(i);
      progress.clear();
      if (!found) break;
      done.bytesDone += sizeOfHostFile(images[i].path);
      anyFound = anyFound || !found->matches.empty();
      anyFailed = anyFailed || found->error;
      if (session.json)
        all.push_back({images[i].path, *std::move(found)});
      else
        print(session, images[i].path, *found);
    }
    const bool interrupted = session.interrupted();
    if (session.json)
      writeJson(session, all, anyFound && !anyFailed && !interrupted, interrupted);
    else if (interrupted)
      printProblem(session.streams.err, session.problemPrefix, "", cliError(kCliInterrupted, "Interrupted"));
    if (interrupted) return ExitStatus::interrupted;
    return anyFound && !anyFailed ? ExitStatus::done : ExitStatus::failed;
  }

  static void print(const Session &session, const std::string &image, const ImageMatches &found) {
    for (const NameMatch &match : found.matches)
      session.out() << lineFor(image, match) << '\n';
    if (found.error) printProblem(session.streams.err, session.problemPrefix, image, *found.error);
  }

  static void writeJson(const Session &session, const std::vector<Found> &all, bool ok, bool interrupted) {
    JsonWriter writer(session.out());
    writer.beginObject().member("ok", ok);
    if (interrupted) writer.member("interrupted", true);
    writer.key("matches").beginArray();
    for (const Found &found : all) {
      for (const NameMatch &match : found.in.matches)
        writeMatch(writer, found.image, match);
    }
    writer.endArray().key("results").beginArray();
    for (const Found &found : all) {
      if (!found.in.error) continue;
      writer.beginObject().member("item", found.image).member("ok", false).key("error");
      writeError(writer, *found.in.error);
      writer.endObject();
    }
    writer.endArray().endObject().endLine();
  }

  const CommandWords::Word *words_ = nullptr;
  const CommandWords::Word *files_ = nullptr;
  const CommandWords::Word *folders_ = nullptr;
  const CommandWords::Word *presets_ = nullptr;
  const CommandWords::Word *samples_ = nullptr;
};

} // namespace

extern const CommandEntry kFindCommand{
    "find",
    "PATTERN IMAGE_OR_HOSTFOLDER... [--files] [--folders] [--presets] [--samples]",
    "Look for names in any number of images",
    "Looks in images, and in the .hda files below host folders, for names of files, folders, presets and "
    "samples.\n"
    "Letter case is passed over. A line for each name: image, path, kind; of a preset or sample its bank's "
    "path, its\n"
    "index in the bank's contents and its name. Exit status 1 when nothing was found, or an image could not "
    "be "
    "read.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli find kick ~/images\n"
    "  tessary-cli find 'grand*' disk1.hda disk2.hda --presets --json\n",
    {.isBatchLine = false, .mounts = false},
    makeCommand<FindCommand>,
};

} // namespace tessary::cli
