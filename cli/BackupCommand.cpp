#include "cli/Command.h"
#include "cli/ItemReport.h"
#include "tessary/BackupWatcher.h"
#include "tessary/Text.h"

#include <string>

namespace tessary::cli {
namespace {

class BackupCommand final : public Command {
public:
  void declare(CommandWords &words) override {
    target_ = words.required("TARGET", "The file that the copy goes to; it must not be there yet");
  }

  ExitStatus run(Session &session) override {
    const std::string target = CommandWords::text(target_);
    const std::string image = session.volume->imageURL();
    BackupWatcher watcher;
    watcher.isToStop = [&] { return session.interrupted(); };
    ItemReport report(session);
    report.run(
        image, "Backed up " + escapedNameForDisplay(image) + " to " + escapedNameForDisplay(target),
        [&](EMU3Error *error) { return session.volume->backUpTo(target, watcher, error); },
        [&] { return ItemResult{.host = target, .bytes = session.volume->imageSize()}; });
    return report.finish();
  }

private:
  const CommandWords::Word *target_ = nullptr;
};

} // namespace

extern const CommandEntry kBackupCommand{
    "backup",
    "TARGET",
    "Copy the image file",
    "The copy is compared with the image byte for byte and is on the medium before it is named TARGET. Holes "
    "are\n"
    "kept. Nobody can change the image meanwhile.\n"
    "\n"
    "Example:\n"
    "  tessary-cli backup disk.hda disk-2026-11-21.hda\n",
    {.claims = true},
    makeCommand<BackupCommand>,
};

} // namespace tessary::cli
