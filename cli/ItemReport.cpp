#include "cli/ItemReport.h"

#include "cli/AddressSyntax.h"
#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/JsonWriter.h"
#include "tessary/Text.h"

#include <exception>
#include <utility>

namespace tessary::cli {
namespace {

void writeResult(JsonWriter &writer, const ItemResult &result) {
  if (result.path) writer.member("path", *result.path);
  if (result.place) writer.member("place", placeAddress(*result.place));
  if (result.host)
    writer.member("host", result.host->empty() ? nlohmann::json() : nlohmann::json(*result.host));
  if (result.bytes) writer.member("bytes", *result.bytes);
  if (result.isLeftOut) writer.member("skipped", true);
}

} // namespace

ItemResult resultOf(const EMU3File &file) {
  return {.path = pathOf(file), .place = file.place(), .bytes = file.fileSize()};
}

ItemResult resultOf(const EMU3Directory &folder) {
  return {.path = pathOf(folder), .place = folder.place()};
}

ItemResult resultOf(const ItemEnd &end) {
  if (end.isLeftOut) return {.isLeftOut = true};
  if (!end.hostPath.empty()) return {.host = end.hostPath, .bytes = end.bytes};
  if (end.file) return resultOf(*end.file);
  return end.folder ? resultOf(*end.folder) : ItemResult();
}

bool ItemReport::run(const std::string &item, const std::string &sentence, const Work &work,
                     const std::function<ItemResult()> &result) {
  return run(
      item, [&] { return sentence; }, work, result);
}

bool ItemReport::run(const std::string &item, const std::function<std::string()> &sentence, const Work &work,
                     const std::function<ItemResult()> &result) {
  if (session_.interrupted()) return false;
  EMU3Error error;
  if (attempt(item, work, &error)) {
    succeed(item, sentence, result);
    session_.out().flush();
  } else {
    fail(item, error);
  }
  return true;
}

void ItemReport::runAll(ItemsOperation &operation, const std::vector<std::string> &items,
                        const std::function<std::string(const ItemEnd &)> &sentence) {
  ItemsWatcher watcher;
  watcher.isToStop = [&] { return session_.interrupted(); };
  watcher.began = [&](std::size_t item) { progress_.show(items[item], operation.progress()); };
  watcher.ended = [&](const ItemEnd &ended) {
    progress_.clear();
    const std::string &item = items[ended.item];
    if (ended.error) return fail(item, *ended.error);
    const auto said = [&] {
      return ended.isLeftOut ? "Left out, since its name is there: " + item : sentence(ended);
    };
    succeed(item, said, [&] { return resultOf(ended); });
  };
  // Items end by the group, and their lines are written together.
  watcher.progressed = [&](const ItemsProgress &) { session_.out().flush(); };
  operation.run(watcher);
}

bool ItemReport::attempt(const std::string &item, const Work &work, EMU3Error *error) {
  try {
    return work(error);
  } catch (const std::exception &problem) {
    *error = errorOf(problem, item);
    return false;
  }
}

void ItemReport::succeed(const std::string &item, const std::function<std::string()> &sentence,
                         const std::function<ItemResult()> &result) {
  if (session_.json)
    outcomes_.push_back({item, result ? result() : ItemResult(), std::nullopt});
  else if (!session_.quiet)
    session_.out() << escapedForDisplay(sentence()) << '\n';
}

void ItemReport::fail(const std::string &item, const EMU3Error &error) {
  anyFailed_ = true;
  if (session_.json) {
    outcomes_.push_back({item, ItemResult(), error});
    return;
  }
  session_.out().flush(); // so that a terminal shows the lines in the order of the items
  printProblem(session_.streams.err, session_.problemPrefix, item, error);
}

ExitStatus ItemReport::finish() {
  const bool interrupted = session_.interrupted();
  if (session_.json)
    writeJson(!anyFailed_ && !interrupted, interrupted);
  else if (interrupted)
    printProblem(session_.streams.err, session_.problemPrefix, "", cliError(kCliInterrupted, "Interrupted"));
  else if (session_.isTrial && !session_.quiet)
    session_.out() << "Dry run: nothing was written.\n";
  if (interrupted) return ExitStatus::interrupted;
  return anyFailed_ ? ExitStatus::failed : ExitStatus::done;
}

void ItemReport::writeJson(bool ok, bool interrupted) const {
  JsonWriter writer(session_.out());
  writer.beginObject().member("ok", ok);
  if (interrupted) writer.member("interrupted", true);
  writer.key("results").beginArray();
  for (const Outcome &outcome : outcomes_) {
    writer.beginObject().member("item", outcome.item).member("ok", !outcome.error.has_value());
    writeResult(writer, outcome.result);
    if (outcome.error) {
      writer.key("error");
      writeError(writer, *outcome.error);
    }
    writer.endObject();
  }
  writer.endArray().endObject().endLine();
}

} // namespace tessary::cli
