#pragma once

#include "cli/CommandWords.h"

#include <optional>
#include <string>

namespace tessary::cli {

/// Where a command that writes host files puts them: `-d DIR` or `-o PATH`.
class HostOptions final {
public:
  void declare(CommandWords &words);
  /// Throws WrongWords when both are given.
  void check() const;
  /// Throws CommandFailure when DIR is no folder of the host.
  void requireFolder() const;

  /// The folder for results that are named after what they hold; empty for the current one.
  std::string folder() const { return CommandWords::textIfGiven(folder_).value_or(""); }
  /// The one path for the one result, when there is one.
  std::optional<std::string> target() const { return CommandWords::textIfGiven(target_); }

private:
  const CommandWords::Word *folder_ = nullptr;
  const CommandWords::Word *target_ = nullptr;
};

} // namespace tessary::cli
