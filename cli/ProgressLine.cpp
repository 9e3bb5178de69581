#include "cli/ProgressLine.h"

#include "tessary/EMU3File.h"
#include "tessary/Text.h"

#include <cmath>

namespace tessary::cli {
namespace {

/// Longest item shown, in bytes: a line that wraps could not be taken back.
constexpr std::size_t kLongestShown = 56;
constexpr const char *kClearLine = "\r\x1b[K";
/// Before that a speed says nothing.
constexpr std::chrono::milliseconds kFirstSpeed{500};

std::string timeLeft(std::uint64_t seconds) {
  if (seconds < 60) return std::to_string(seconds) + " s left";
  return std::to_string((seconds + 59) / 60) + " min left";
}

} // namespace

std::string progressFigures(const ItemsProgress &progress, std::chrono::milliseconds elapsed) {
  if (progress.bytes == 0) return {};
  std::string text =
      ", " + fileSizeStringFor(progress.bytesDone) + " of " + fileSizeStringFor(progress.bytes);
  text += ", " + std::to_string(progress.bytesDone * 100 / progress.bytes) + "%";
  if (elapsed < kFirstSpeed || progress.bytesDone == 0) return text;
  const auto milliseconds = static_cast<std::uint64_t>(elapsed.count());
  text += ", " + fileSizeStringFor(progress.bytesDone * 1000 / milliseconds) + "/s";
  const std::uint64_t bytesLeft = progress.bytes - progress.bytesDone;
  const auto secondsLeft = static_cast<double>(bytesLeft) * static_cast<double>(milliseconds) /
                           (static_cast<double>(progress.bytesDone) * 1000.0);
  return text + ", " + timeLeft(static_cast<std::uint64_t>(std::llround(secondsLeft)));
}

void ProgressLine::show(const std::string &item, const ItemsProgress &progress) {
  ++begun_;
  if (!streams_.surroundings.errIsTerminal || progress.items < 2) return;
  const auto elapsed = std::chrono::steady_clock::now() - begin_;
  isShown_ = true;
  streams_.err << kClearLine << std::to_string(begun_) << " of " << std::to_string(progress.items)
               << progressFigures(progress, std::chrono::duration_cast<std::chrono::milliseconds>(elapsed))
               << ": " << prefixOfWholeCharacters(escapedForDisplay(item), kLongestShown) << std::flush;
}

void ProgressLine::clear() {
  if (isShown_) streams_.err << kClearLine << std::flush;
  isShown_ = false;
}

} // namespace tessary::cli
