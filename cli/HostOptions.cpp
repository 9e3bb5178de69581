#include "cli/HostOptions.h"

#include "cli/CliError.h"
#include "cli/HostFolders.h"
#include "tessary/ExportTargets.h"

namespace tessary::cli {

void HostOptions::declare(CommandWords &words) {
  folder_ =
      words.option("-d,--directory", "DIR", "The host folder to write into; the current one when left out");
  target_ =
      words.option("-o,--output", "PATH", "The host file to write, for one result; - is standard output");
  noClobber_ = words.flag("--no-clobber", "Replace no host file");
}

void HostOptions::check() const {
  if (CommandWords::isGiven(folder_) && CommandWords::isGiven(target_)) {
    throw WrongWords{"-d and -o exclude each other"};
  }
}

void HostOptions::provideFolder(bool isTrial) const {
  if (const auto folder = CommandWords::textIfGiven(folder_)) provideHostFolder(*folder, isTrial);
}

ExportOptions HostOptions::exportOptions(bool recursive) const {
  return {.replacesEarlier = !CommandWords::isGiven(noClobber_), .followsLinks = !recursive};
}

} // namespace tessary::cli
