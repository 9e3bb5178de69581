#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/ItemReport.h"
#include "cli/MountedImages.h"
#include "tessary/NewVolume.h"
#include "tessary/Text.h"

#include <optional>
#include <string>

namespace tessary::cli {
namespace {

std::uint64_t sizeFrom(const std::string &text) {
  const std::optional<std::uint64_t> bytes = NewVolume::sizeFromText(text);
  if (!bytes || !NewVolume::ofSize(*bytes))
    throw WrongWords{"--size: not from 64K to 32G in whole blocks of 512 bytes: " + text};
  return *bytes;
}

class NewCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    image_ = words.required("IMAGE", "The file that the volume is made in; it must not be there yet");
    size_ = words.option("--size", "SIZE", "Its size, as 512M or 2G: from 64K to 32G");
    like_ = words.option("--like", "IMAGE2", "Take header and size of this image");
  }

  void check(const RunKind &) override {
    if (CommandWords::isGiven(size_) == CommandWords::isGiven(like_))
      throw WrongWords{"one of --size and --like is needed"};
    if (const auto text = CommandWords::textIfGiven(size_)) bytes_ = sizeFrom(*text);
  }

  ExitStatus run(Session &session) override {
    const std::string image = CommandWords::text(image_);
    const NewVolume volume =
        like_->count() > 0 ? volumeLike(session, CommandWords::text(like_)) : volumeOfSize();
    ItemReport report(session);
    report.run(
        image, "Made " + escapedNameForDisplay(image) + ", " + fileSizeStringFor(volume.imageSize()),
        [&](EMU3Error *error) {
          return session.isTrial ? volume.canCreate(image, error) : volume.create(image, error);
        },
        [&] { return ItemResult{.host = image, .bytes = volume.imageSize()}; });
    return report.finish();
  }

private:
  [[nodiscard]] NewVolume volumeOfSize() const {
    EMU3Error error;
    std::optional<NewVolume> volume = NewVolume::ofSize(bytes_, &error);
    if (!volume) throw CommandFailure{error, CommandWords::text(size_)};
    return *volume;
  }

  static NewVolume volumeLike(const Session &session, const std::string &image) {
    const EMU3FilesystemPtr model = mountImage(image, session.rules, ImageClaim::atFirstChange);
    EMU3Error error;
    std::optional<NewVolume> volume = NewVolume::like(*model, &error);
    if (!volume) throw CommandFailure{error, image};
    return *volume;
  }

  const CommandWords::Word *image_ = nullptr;
  const CommandWords::Word *size_ = nullptr;
  const CommandWords::Word *like_ = nullptr;
  std::uint64_t bytes_ = 0;
};

} // namespace

extern const CommandEntry kNewCommand{
    "new",
    "IMAGE (--size SIZE | --like IMAGE2)",
    "Make an empty volume in a new image file",
    "SIZE is a number of bytes, or of KiB, MiB or GiB with K, M or G behind it: from 64K to 32G. With --like "
    "the\n"
    "volume gets header and size of IMAGE2, as the sampler has formatted it; a header made by --size has not "
    "been\n"
    "tried in a sampler. The file is sparse where the host can make it so.\n"
    "\n"
    "Examples:\n"
    "  tessary-cli new sounds.hda --size 512M\n"
    "  tessary-cli new compact.hda --like disk.hda\n",
    {.isBatchLine = false, .mounts = false, .hasTrial = true},
    makeCommand<NewCommand>,
};

} // namespace tessary::cli
