#include "cli/ItemReport.h"

#include "cli/CliError.h"
#include "cli/JsonWriter.h"
#include "filesystem/Text.h"

#include <exception>
#include <string_view>
#include <utility>

namespace tessary::cli {
namespace {

/// Longest item shown in the progress line, in bytes: a line that wraps could not be taken back.
constexpr std::size_t kLongestShown = 56;
constexpr const char *kClearLine = "\r\x1b[K";

} // namespace

bool ItemReport::run(const std::string &item, const std::string &sentence,
                     const std::function<bool(EMU3Error *)> &work) {
  return run(
      item, [&] { return sentence; }, work);
}

bool ItemReport::run(const std::string &item, const std::function<std::string()> &sentence,
                     const std::function<bool(EMU3Error *)> &work) {
  if (session_.interrupted()) return false;
  showProgress(item);
  ++begun_;
  EMU3Error error;
  const bool done = attempt(item, work, &error);
  clearProgress();
  if (done)
    succeed(item, sentence());
  else
    fail(item, error);
  return true;
}

void ItemReport::runAll(ItemsOperation &operation, const std::vector<std::string> &items,
                        const std::function<std::string(const ItemEnd &)> &sentence) {
  bool isShown = false;
  ItemsWatcher watcher;
  watcher.isToStop = [&] { return session_.interrupted(); };
  watcher.began = [&](std::size_t item) {
    showProgress(items[item]);
    ++begun_;
    isShown = true;
  };
  watcher.ended = [&](const ItemEnd &ended) {
    if (std::exchange(isShown, false)) clearProgress();
    if (ended.error)
      fail(items[ended.item], *ended.error);
    else
      succeed(items[ended.item], sentence(ended));
  };
  operation.run(watcher);
}

bool ItemReport::attempt(const std::string &item, const std::function<bool(EMU3Error *)> &work,
                         EMU3Error *error) {
  try {
    return work(error);
  } catch (const std::exception &problem) {
    *error = errorOf(problem, item);
    return false;
  }
}

void ItemReport::succeed(const std::string &item, const std::string &sentence) {
  if (session_.json)
    outcomes_.push_back({item, std::nullopt});
  else
    session_.out() << escapedForDisplay(sentence) << '\n' << std::flush;
}

void ItemReport::fail(const std::string &item, const EMU3Error &error) {
  anyFailed_ = true;
  if (session_.json)
    outcomes_.push_back({item, error});
  else
    printProblem(session_.streams.err, session_.problemPrefix, item, error.message);
}

ExitStatus ItemReport::finish() {
  const bool interrupted = session_.interrupted();
  if (session_.json)
    writeJson(!anyFailed_ && !interrupted);
  else if (interrupted)
    printProblem(session_.streams.err, session_.problemPrefix, "", "Interrupted");
  if (interrupted) return ExitStatus::interrupted;
  return anyFailed_ ? ExitStatus::failed : ExitStatus::done;
}

void ItemReport::showProgress(const std::string &item) const {
  if (!session_.streams.surroundings.errIsTerminal || expected_ < 2) return;
  session_.streams.err << kClearLine << std::to_string(begun_ + 1) << " of " << std::to_string(expected_)
                       << ": " << prefixOfWholeCharacters(escapedForDisplay(item), kLongestShown)
                       << std::flush;
}

void ItemReport::clearProgress() const {
  if (!session_.streams.surroundings.errIsTerminal || expected_ < 2) return;
  session_.streams.err << kClearLine << std::flush;
}

void ItemReport::writeJson(bool ok) const {
  JsonWriter writer(session_.out());
  writer.beginObject().member("ok", ok).key("results").beginArray();
  for (const Outcome &outcome : outcomes_) {
    writer.beginObject().member("item", outcome.item).member("ok", !outcome.error.has_value());
    if (outcome.error) {
      writer.key("error");
      writeError(writer, *outcome.error);
    }
    writer.endObject();
  }
  writer.endArray().endObject().endLine();
}

} // namespace tessary::cli
