#include "cli/ItemReport.h"

#include "cli/JsonWriter.h"
#include "filesystem/Text.h"

#include <string_view>

namespace tessary::cli {
namespace {

/// Longest item shown in the progress line, in bytes: a line that wraps could not be taken back.
constexpr std::size_t kLongestShown = 56;
constexpr const char *kClearLine = "\r\x1b[K";

} // namespace

bool ItemReport::begin(const std::string &item) {
  if (session_.interrupted()) return false;
  current_ = item;
  ++begun_;
  showProgress();
  return true;
}

void ItemReport::succeed(const std::string &sentence) {
  clearProgress();
  if (session_.json)
    outcomes_.push_back({current_, std::nullopt});
  else
    session_.out() << escapedForDisplay(sentence) << '\n' << std::flush;
}

void ItemReport::fail(const EMU3Error &error) {
  clearProgress();
  anyFailed_ = true;
  if (session_.json)
    outcomes_.push_back({current_, error});
  else
    printProblem(session_.streams.err, session_.problemPrefix, current_, error.message);
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

void ItemReport::showProgress() const {
  if (!session_.streams.surroundings.errIsTerminal || expected_ < 2) return;
  const std::string item = escapedForDisplay(current_);
  session_.streams.err << kClearLine << std::to_string(begun_) << " of " << std::to_string(expected_) << ": "
                       << prefixOfWholeCharacters(item, kLongestShown) << std::flush;
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
