#include "tests/compare/Comparison.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace tessary::compare {
namespace {

using test::kBlockBytes;

constexpr std::size_t kShownBefore = 60; // characters around a difference
constexpr std::size_t kShownBehind = 200;

std::string hexadecimal(std::uint64_t value, int digits) {
  std::array<char, 20> text{};
  std::snprintf(text.data(), text.size(), "%0*llX", digits, static_cast<unsigned long long>(value));
  return text.data();
}

template <typename Range> std::size_t firstDifference(const Range &before, const Range &now) {
  const auto found = std::mismatch(before.begin(), before.end(), now.begin(), now.end());
  return static_cast<std::size_t>(found.first - before.begin());
}

// A part of the text, control characters escaped.
std::string excerpt(const std::string &text, std::size_t at) {
  const std::size_t from = at > kShownBefore ? at - kShownBefore : 0;
  const std::string part = text.substr(std::min(from, text.size()), at - from + kShownBehind);
  std::string shown = from > 0 ? "…" : "";
  for (const char character : part) {
    const auto byte = static_cast<std::uint8_t>(character);
    if (byte < 0x20 || byte == 0x7F)
      shown += "\\x" + hexadecimal(byte, 2);
    else
      shown += character;
  }
  return shown + (from + part.size() < text.size() ? "…" : "");
}

std::string sideBySide(const std::string &before, const std::string &now) {
  const std::size_t at = firstDifference(before, now);
  return "  before: " + excerpt(before, at) + "\n  now:    " + excerpt(now, at) + "\n";
}

// 32 bytes, which is an entry where they are of a directory block.
std::string entryBytes(const Bytes &bytes, std::size_t at) {
  constexpr std::size_t kEntryBytes = 32;
  const std::size_t from = at / kEntryBytes * kEntryBytes;
  std::string text;
  for (std::size_t i = from; i < std::min(from + kEntryBytes, bytes.size()); ++i)
    text.append(" ").append(hexadecimal(bytes[i], 2));
  return text;
}

std::string bytesSideBySide(const Bytes &before, const Bytes &now, std::size_t at) {
  return "  before:" + entryBytes(before, at) + "\n  now:   " + entryBytes(now, at) + "\n";
}

class Comparer {
public:
  explicit Comparer(const std::optional<test::Pattern> &ignored) : ignored_(ignored) {}

  std::optional<std::string> answers(const std::vector<Command> &commands, const std::vector<Answer> &before,
                                     const std::vector<Answer> &now, const std::string &where) const {
    for (std::size_t i = 0; i < std::min(before.size(), now.size()); ++i) {
      const std::string old = kept(before[i].text);
      const std::string other = kept(now[i].text);
      if (old == other) continue;
      const std::string line = i < commands.size() ? lineOf(commands[i]) : "no command";
      return "The answer to command " + std::to_string(i + 1) + where + " differs: " + line + "\n" +
             sideBySide(old, other);
    }
    if (before.size() == now.size()) return std::nullopt;
    return "There are " + std::to_string(now.size()) + " answers" + where + ", before there were " +
           std::to_string(before.size()) + ".\n";
  }

  std::optional<std::string> ending(const std::string &before, const std::string &now) const {
    const std::string old = kept(before);
    const std::string other = kept(now);
    if (old == other) return std::nullopt;
    return "The batch ends otherwise:\n" + sideBySide(old, other);
  }

private:
  std::string kept(const std::string &text) const { return ignored_ ? ignored_->takenOutOf(text) : text; }

  const std::optional<test::Pattern> &ignored_;
};

std::string wayToEnd(const Outcome &outcome) {
  if (outcome.signal == 0) return "ended by itself";
  if (outcome.tookTooLong()) return "took too long";
  return "was ended by signal " + std::to_string(outcome.signal);
}

std::optional<std::string> signalDifference(const Outcome &before, const Outcome &now) {
  if (before.signal == 0 && now.signal == 0) return std::nullopt;
  return "The program of before " + wayToEnd(before) + ", that of now " + wayToEnd(now) + ".\n";
}

std::optional<std::string> hostFileDifference(const Outcome &before, const Outcome &now) {
  for (const auto &[path, entry] : before.hostFiles) {
    const auto other = now.hostFiles.find(path);
    if (other == now.hostFiles.end()) return "The host file " + path + " is not written any more.\n";
    if (other->second == entry) continue;
    std::string text = "The host file " + path + " differs";
    if (other->second.contents == entry.contents) return text + " in its kind or its permissions.\n";
    const std::size_t at = firstDifference(entry.contents, other->second.contents);
    text += " in byte " + std::to_string(at) + " (" + std::to_string(entry.contents.size()) +
            " bytes before, now " + std::to_string(other->second.contents.size()) + "):\n";
    return text + bytesSideBySide(entry.contents, other->second.contents, at);
  }
  for (const auto &[path, entry] : now.hostFiles) {
    if (!before.hostFiles.contains(path)) return "The host file " + path + " was not written before.\n";
  }
  return std::nullopt;
}

std::optional<std::string> imageDifference(const Bytes &before, const Bytes &now) {
  if (before == now) return std::nullopt;
  const std::size_t at = firstDifference(before, now);
  return "The image differs in byte 0x" + hexadecimal(at, 1) + ", which is byte " +
         std::to_string(at % kBlockBytes) + " of block " + std::to_string(at / kBlockBytes) + ":\n" +
         bytesSideBySide(before, now, at);
}

} // namespace

std::optional<std::string> difference(const Sequence &sequence, const Outcome &before, const Outcome &now,
                                      const std::optional<test::Pattern> &ignored) {
  const Comparer comparer(ignored);
  if (auto found = signalDifference(before, now)) return found;
  if (auto found = comparer.answers(sequence.commands, before.answers, now.answers, "")) return found;
  if (auto found = comparer.ending(before.ending, now.ending)) return found;
  if (auto found = imageDifference(before.image, now.image)) return found;
  if (auto found = hostFileDifference(before, now)) return found;
  return comparer.answers(listingCommands(), before.listing, now.listing, " on a fresh mount afterwards");
}

} // namespace tessary::compare
