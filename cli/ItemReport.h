#pragma once

#include "cli/ExitStatus.h"
#include "cli/ProgressLine.h"
#include "cli/Session.h"
#include "tessary/EMU3Error.h"
#include "tessary/ItemsOperation.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tessary::cli {

/// What came of one item; what does not apply is absent.
struct ItemResult {
  std::optional<std::string> path{}; ///< of what came to be in the volume
  std::optional<EntryPlace> place{}; ///< the same
  std::optional<std::string> host{}; ///< path of what was written on the host; empty for standard output
  std::optional<std::uint64_t> bytes{};
  bool isLeftOut = false; ///< not stored, since a file of its name was there
};
[[nodiscard]] ItemResult resultOf(const ItemEnd &end);
[[nodiscard]] ItemResult resultOf(const EMU3File &file);
[[nodiscard]] ItemResult resultOf(const EMU3Directory &folder);

/// The answer of a command that works item by item: a line for each item as it ends, or one JSON object
/// with all of them at the end. Shows the progress of work on more than one item on a terminal.
///
///     ItemReport report(session);
///     report.runAll(*operation, addresses,
///                   [&](const ItemEnd &end) { return "Deleted " + addresses[end.item]; });
///     return report.finish();
class ItemReport final {
public:
  using Work = std::function<bool(EMU3Error *)>;

  explicit ItemReport(Session &session) : session_(session), progress_(session.streams) {}

  /// Does one item by itself. False when it was not begun, since the user has interrupted; then the command
  /// does no more. `work` returns whether it succeeded, and fills the error where not; what it throws is the
  /// item's failure. `sentence` says what was done and `result` what came of it: after a success that
  /// of the two is called which is shown.
  bool run(const std::string &item, const std::function<std::string()> &sentence, const Work &work,
           const std::function<ItemResult()> &result = {});
  bool run(const std::string &item, const std::string &sentence, const Work &work,
           const std::function<ItemResult()> &result = {});

  /// Does all items of an operation. `items` are their addresses in its order; `sentence` says what was done
  /// with one.
  void runAll(ItemsOperation &operation, const std::vector<std::string> &items,
              const std::function<std::string(const ItemEnd &)> &sentence);

  /// Completes the answer.
  ExitStatus finish();

private:
  struct Outcome {
    std::string item;
    ItemResult result;
    std::optional<EMU3Error> error;
  };

  static bool attempt(const std::string &item, const Work &work, EMU3Error *error);
  void succeed(const std::string &item, const std::function<std::string()> &sentence,
               const std::function<ItemResult()> &result);
  void fail(const std::string &item, const EMU3Error &error);
  void writeJson(bool ok, bool interrupted) const;

  Session &session_;
  ProgressLine progress_;
  std::vector<Outcome> outcomes_; ///< for the JSON answer alone
  bool anyFailed_ = false;
};

} // namespace tessary::cli
