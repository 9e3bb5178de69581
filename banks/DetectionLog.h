#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tessary {

/// The diagnostic lines of a bank's detection. They are written only for a file with the name "Acid".
class DetectionLog final {
public:
  /// The name outlives the log.
  explicit DetectionLog(const std::string &fileName) : fileName_(fileName), on_(fileName == "Acid") {}

  /// "[TAG] NAME TEXT". `makeText` returns the text, and is called only when the line is written: making all
  /// the texts took half the time of a detection.
  template <typename MakeText> void line(const char *tag, const MakeText &makeText) const {
    if (on_) write(tag, makeText());
  }

private:
  void write(const char *tag, const std::string &text) const;

  const std::string &fileName_;
  const bool on_;
};

// What the texts are made of.
[[nodiscard]] std::string number(std::uint64_t value);
/// "0x" and eight hexadecimal digits.
[[nodiscard]] std::string hexWord(std::uint32_t value);
/// "Presets: N, Samples: N".
[[nodiscard]] std::string counts(std::uint64_t presets, std::uint64_t samples);
/// The bytes up to the first zero byte, as printf's "%.4s" shows them.
[[nodiscard]] std::string shownText(const std::uint8_t *bytes, std::size_t size);
/// The bytes with `replacement` for each that is not printable ASCII.
[[nodiscard]] std::string withReplacement(const std::uint8_t *bytes, std::size_t size, char replacement);
/// "(hex: 45 34 50 31) size=N", of an entry's type and size.
[[nodiscard]] std::string typeAndSize(const std::uint8_t *type, std::uint32_t size);

} // namespace tessary
