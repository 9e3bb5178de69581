#include "tests/support/BankBuilder.h"

#include <algorithm>
#include <stdexcept>

namespace tessary::test {

namespace {

constexpr std::size_t kTocEntryBytes = 32;

void append(Bytes &to, std::span<const std::uint8_t> bytes) {
  to.insert(to.end(), bytes.begin(), bytes.end());
}

/// The text in a field of `width` bytes.
Bytes field(std::string_view text, std::size_t width, std::uint8_t padding) {
  if (text.size() > width) throw std::logic_error("too long for its field: " + std::string(text));
  Bytes bytes = bytesOf(text);
  bytes.resize(width, padding);
  return bytes;
}

void append32(Bytes &to, std::uint32_t value) {
  append(to, bigEndian32(value));
}

/// What a preset's chunk begins with here: its name. Enough for banks that are only looked at.
Bytes presetData(std::string_view name) {
  Bytes data = field(name, 16, ' ');
  data.resize(64);
  return data;
}

} // namespace

std::array<std::uint8_t, 4> bigEndian32(std::uint32_t value) {
  return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
          static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

IffBank &IffBank::preset(std::string_view name, std::string_view type) {
  const Bytes data = presetData(name);
  toc({.type = std::string(type),
       .name = std::string(name),
       .size = static_cast<std::uint32_t>(data.size())});
  return chunk(type, data);
}

IffBank &IffBank::sample(std::string_view name, const Bytes &audio, std::string_view type) {
  toc({.type = std::string(type),
       .name = std::string(name),
       .size = static_cast<std::uint32_t>(audio.size())});
  return chunk(type, audio);
}

IffBank &IffBank::toc(TocEntry entry) {
  entries_.push_back(std::move(entry));
  return *this;
}

IffBank &IffBank::chunk(std::string_view identifier, const Bytes &data, std::optional<std::uint32_t> size) {
  append(chunks_, field(identifier, 4, 0));
  append32(chunks_, size.value_or(static_cast<std::uint32_t>(data.size())));
  append(chunks_, data);
  if (data.size() % 2 != 0) chunks_.push_back(0);
  return *this;
}

IffBank &IffBank::trailing(const Bytes &bytes) {
  append(chunks_, bytes);
  return *this;
}

IffBank &IffBank::tocSize(std::uint32_t size) {
  tocSize_ = size;
  return *this;
}

IffBank &IffBank::firstChunk(std::string identifier) {
  firstChunk_ = std::move(identifier);
  return *this;
}

Bytes IffBank::build() const {
  const std::size_t tocBytes = entries_.size() * kTocEntryBytes;
  Bytes bank = bytesOf("FORM");
  append32(bank, static_cast<std::uint32_t>(4 + 8 + tocBytes + chunks_.size()));
  append(bank, field(formType_, 4, 0));
  append(bank, field(firstChunk_, 4, 0));
  append32(bank, tocSize_.value_or(static_cast<std::uint32_t>(tocBytes)));
  for (const TocEntry &entry : entries_) {
    append(bank, field(entry.type, 4, 0));
    append32(bank, entry.size);
    append(bank, entry.unread);
    append(bank, field(entry.name, 16, ' '));
    append(bank, std::array<std::uint8_t, 2>{});
  }
  append(bank, chunks_);
  return bank;
}

Bytes IffBank::build(std::size_t length) const {
  Bytes bank = build();
  if (length > bank.size())
    throw std::logic_error("the bank has only " + std::to_string(bank.size()) + " bytes");
  bank.resize(length);
  return bank;
}

Bytes LegacyBank::build() const {
  Bytes bank = field(format, 16, 0);
  append(bank, field(name, 16, ' '));
  for (const std::uint16_t count : {presets, samples}) {
    bank.push_back(static_cast<std::uint8_t>(count));
    bank.push_back(static_cast<std::uint8_t>(count >> 8));
  }
  append(bank, body);
  bank.resize(sizeBytes);
  return bank;
}

Bytes emulatorThreeBank(std::string_view name, std::uint16_t presets, std::uint16_t samples) {
  return LegacyBank{
      .format = "EMULATOR THREE ", .name = std::string(name), .presets = presets, .samples = samples}
      .build();
}

Bytes emulator3XBank(std::string_view name, std::uint16_t presets, std::uint16_t samples) {
  return LegacyBank{
      .format = "EMULATOR 3X", .name = std::string(name), .presets = presets, .samples = samples}
      .build();
}

Bytes esi32Bank(std::string_view name, std::uint16_t presets, std::uint16_t samples) {
  return LegacyBank{
      .format = "EMU SI-32 v3 ", .name = std::string(name), .presets = presets, .samples = samples}
      .build();
}

} // namespace tessary::test
