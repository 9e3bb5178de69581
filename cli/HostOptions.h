#pragma once

#include "cli/CommandWords.h"
#include "tessary/ItemsWatcher.h"

#include <optional>
#include <string>

namespace tessary::cli {

/// Where a command that writes host files puts them, `-d DIR` or `-o PATH`, and what it does with those that
/// are there.
class HostOptions final {
public:
  void declare(CommandWords &words);
  /// Throws WrongWords when both are given.
  void check() const;
  /// Makes DIR where it is not there; a trial does not. Throws CommandFailure when it is no folder and none
  /// can be made.
  void provideFolder(bool isTrial) const;
  /// Options for the operation. With -R no link inside DIR is followed.
  [[nodiscard]] ExportOptions exportOptions(bool recursive) const;

  /// The folder for results that are named after what they hold; empty for the current one.
  std::string folder() const { return CommandWords::textIfGiven(folder_).value_or(""); }
  /// The one path for the one result, when there is one.
  std::optional<std::string> target() const { return CommandWords::textIfGiven(target_); }
  /// Whether that is standard output.
  bool fillsStandardOutput() const { return target() == "-"; }

private:
  const CommandWords::Word *folder_ = nullptr;
  const CommandWords::Word *target_ = nullptr;
  const CommandWords::Word *noClobber_ = nullptr;
};

} // namespace tessary::cli
