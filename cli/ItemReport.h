#pragma once

#include "cli/ExitStatus.h"
#include "cli/Session.h"
#include "filesystem/EMU3Error.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tessary::cli {

/// The answer of a command that works item by item: a line for each item as it ends, or one JSON object
/// with all of them at the end. Shows the progress of work on more than one item on a terminal.
///
///     ItemReport report(session, items.size());
///     for (const Item &item : items) {
///       if (!report.begin(item.address)) break;
///       if (work(item, &error)) report.succeed("Deleted " + item.address);
///       else report.fail(error);
///     }
///     return report.finish();
class ItemReport final {
public:
  /// `expected` is the number of items, for the progress.
  ItemReport(Session &session, std::size_t expected) : session_(session), expected_(expected) {}

  /// Starts the next item. False when the user has interrupted: nothing more is to be begun.
  bool begin(const std::string &item);
  /// Ends the item that was begun, with the sentence that says what was done.
  void succeed(const std::string &sentence);
  void fail(const EMU3Error &error);

  /// Completes the answer.
  ExitStatus finish();

private:
  struct Outcome {
    std::string item;
    std::optional<EMU3Error> error;
  };

  void showProgress() const;
  void clearProgress() const;
  void writeJson(bool ok) const;

  Session &session_;
  std::size_t expected_;
  std::string current_;
  std::size_t begun_ = 0;
  std::vector<Outcome> outcomes_; ///< for the JSON answer alone
  bool anyFailed_ = false;
};

} // namespace tessary::cli
