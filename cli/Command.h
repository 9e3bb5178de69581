#pragma once

#include "cli/CommandWords.h"
#include "cli/ExitStatus.h"
#include "cli/Session.h"

#include <memory>
#include <span>
#include <string_view>

namespace tessary::cli {

/// What a command can know of its run before the image is opened.
struct RunKind {
  bool json = false;
  bool isBatchLine = false;
};

/// One command of the tool: its own words, and what it does. Made anew for each run.
class Command {
public:
  Command() = default;
  virtual ~Command() = default;
  Command(const Command &) = delete;
  Command &operator=(const Command &) = delete;

  /// Declares the words behind IMAGE; those that commands have in common are declared by the caller.
  virtual void declare(CommandWords &words) = 0;
  /// Looks at the words together, before the image is opened. May throw WrongWords.
  virtual void check([[maybe_unused]] const RunKind &kind) {}
  /// Whether the image is to be changed, and so claimed when it is mounted. `byTraits` is the answer for the
  /// command as such (`CommandTraits::claims`), which its words may change. Asked after `check`.
  [[nodiscard]] virtual bool changesImage(bool byTraits) const { return byTraits; }
  /// Whether standard output is the target of what the command writes: its answers go to standard error
  /// then. Asked after `check`.
  [[nodiscard]] virtual bool fillsStandardOutput() const { return false; }
  /// Writes the whole answer. May throw CommandFailure and Interrupted as long as it has written
  /// nothing.
  virtual ExitStatus run(Session &session) = 0;
};

/// What holds for a command besides its words.
struct CommandTraits {
  bool hasJson = true;
  bool isBatchLine = true; ///< can be a line of a batch
  bool mounts = true;      ///< works on the one image that is its first word
  bool claims = false;     ///< changes the image, and so claims it when it mounts it
  bool hasTrial = claims;  ///< takes --dry-run: changes the image, or writes host files
};

/// A row of the command table.
struct CommandEntry {
  std::string_view name;
  std::string_view words;   ///< the command's own words in the usage line, behind IMAGE
  std::string_view summary; ///< one line
  std::string_view details; ///< below the help, with examples
  CommandTraits traits;
  std::unique_ptr<Command> (*make)();
};

template <typename T> std::unique_ptr<Command> makeCommand() {
  return std::make_unique<T>();
}

/// All commands, in the order in which the help shows them.
std::span<const CommandEntry *const> commandTable();
/// Null when there is no such command.
const CommandEntry *findCommand(std::string_view name);

} // namespace tessary::cli
