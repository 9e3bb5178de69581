#pragma once

#include "cli/ExitStatus.h"
#include "cli/Session.h"
#include "filesystem/EMU3Error.h"
#include "filesystem/ItemsOperation.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tessary::cli {

/// The answer of a command that works item by item: a line for each item as it ends, or one JSON object
/// with all of them at the end. Shows the progress of work on more than one item on a terminal.
///
///     ItemReport report(session, items.size());
///     for (const Item &item : items) {
///       const auto work = [&](EMU3Error *error) { return remove(item, error); };
///       if (!report.run(item.address, "Deleted " + item.address, work)) break;
///     }
///     return report.finish();
class ItemReport final {
public:
  /// `expected` is the number of items, for the progress.
  ItemReport(Session &session, std::size_t expected) : session_(session), expected_(expected) {}

  /// Does an item. False when it was not begun because the user has interrupted: nothing more is to be.
  /// `sentence` says what was done. `work` returns whether it succeeded and fills the error where not; what
  /// it throws is the item's failure.
  bool run(const std::string &item, const std::string &sentence,
           const std::function<bool(EMU3Error *)> &work);
  /// The same where what was done is known only when it has been.
  bool run(const std::string &item, const std::function<std::string()> &sentence,
           const std::function<bool(EMU3Error *)> &work);

  /// Does all items of an operation, those in its order; `sentence` says what was done with one.
  void runAll(ItemsOperation &operation, const std::vector<std::string> &items,
              const std::function<std::string(const ItemEnd &)> &sentence);

  /// Completes the answer.
  ExitStatus finish();

private:
  struct Outcome {
    std::string item;
    std::optional<EMU3Error> error;
  };

  static bool attempt(const std::string &item, const std::function<bool(EMU3Error *)> &work,
                      EMU3Error *error);
  void succeed(const std::string &item, const std::string &sentence);
  void fail(const std::string &item, const EMU3Error &error);
  void showProgress(const std::string &item) const;
  void clearProgress() const;
  void writeJson(bool ok) const;

  Session &session_;
  std::size_t expected_;
  std::size_t begun_ = 0;
  std::vector<Outcome> outcomes_; ///< for the JSON answer alone
  bool anyFailed_ = false;
};

} // namespace tessary::cli
