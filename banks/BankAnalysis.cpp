#include "banks/BankAnalysis.h"

#include "banks/BankContents.h"
#include "banks/BankFormat.h"
#include "filesystem/DiskFormat.h"
#include "filesystem/SystemLog.h"
#include "filesystem/Text.h"

#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessary {
namespace {

using namespace bank;

enum BankFormatCode : std::int64_t {
  kUnknown = 0,
  kEmulatorThree = 1,
  kEmulator3X = 2,
  kEsi32 = 3,
  kEmulatorFour = 4
};

bool isPrintable(std::uint8_t byte) {
  return byte >= 0x20 && byte <= 0x7E;
}

template <typename... Args> std::string formatted(const char *format, Args... args) {
  std::array<char, 256> text{};
  std::snprintf(text.data(), text.size(), format, args...);
  return text.data();
}

std::string number(std::uint64_t value) {
  return std::to_string(value);
}

// The bytes up to the first zero byte, as printf's "%.4s" shows them.
std::string shownText(const std::uint8_t *bytes, std::size_t size) {
  std::string text(reinterpret_cast<const char *>(bytes), size);
  text.resize(std::strlen(text.c_str()));
  return text;
}

std::string withReplacement(const TypeBytes &type, char replacement) {
  std::string text;
  for (const std::uint8_t byte : type)
    text += isPrintable(byte) ? static_cast<char>(byte) : replacement;
  return text;
}

// Diagnostic lines are written for the one file of this name only.
class DetectionLog final {
public:
  explicit DetectionLog(const std::string &fileName) : fileName_(fileName), on_(fileName == "Acid") {}

  /// "[TAG] NAME REST".
  void line(const char *tag, const std::string &rest) const {
    if (on_) systemLog(std::string("[") + tag + "] " + fileName_ + " " + rest);
  }
  bool isOn() const { return on_; }

private:
  std::string fileName_;
  bool on_;
};

// Whether the second, permissive pass counts an entry: anything but presets and the two sample types that
// it leaves out.
bool countsWhenPermissive(const TypeBytes &type) {
  const std::optional<BankEntryKind> kind = kindOfBankEntry(type);
  return kind && kind != BankEntryKind::preset && !beginsWith(type, "E3I") && !beginsWith(type, "E4I");
}

void logEntry(const DetectionLog &log, std::uint64_t ordinal, const TocEntry &entry) {
  if (!log.isOn()) return;
  const TypeBytes type = typeOf(entry);
  const std::string hex = formatted("(hex: %02x %02x %02x %02x) size=%u", type[0], type[1], type[2], type[3],
                                    readBE32(entry.data() + 4));
  const std::string start = "entry " + number(ordinal) + ": ";
  if (!kindOfBankEntry(type)) return log.line("E4B0", start + "[NULL/DELETED] " + hex);
  const bool isText = std::all_of(type.begin(), type.end(), isPrintable);
  log.line("E4B0",
           start + "'" + withReplacement(type, '?') + "' " + hex + (isText ? " bytes" : " bytes [binary]"));
}

struct TocScan {
  std::uint64_t presets = 0;
  std::uint64_t samples = 0;
  std::string bankName; ///< of the first preset that has one; empty when none has
};

TocScan scanToc(const FileContents &contents, const TocRange &range, const DetectionLog &log) {
  TocScan scan;
  forEachTocEntry(contents, range, [&](std::uint64_t index, const TocEntry &entry) {
    logEntry(log, index + 1, entry);
    const TypeBytes type = typeOf(entry);
    const std::string shown = log.isOn() ? shownText(type.data(), type.size()) : std::string();
    const std::optional<BankEntryKind> kind = kindOfBankEntry(type);
    if (!kind) return;
    switch (*kind) {
    case BankEntryKind::preset:
      ++scan.presets;
      if (scan.bankName.empty()) {
        std::string name = paddedField(entry.data() + kTocEntryNameOffset, kBankNameSize);
        if (isValidUtf8(name)) scan.bankName = std::move(name);
      }
      log.line("E4B0", "✓ Preset found: " + shown);
      break;
    case BankEntryKind::sample:
      ++scan.samples;
      log.line("E4B0", "✓ Sample/Audio found: " + shown);
      break;
    case BankEntryKind::other:
      if (!log.isOn()) break;
      log.line("E4B0",
               "? Unknown chunk type: " + withReplacement(type, '.') + " (not counted in standard scan)");
      break;
    }
  });
  return scan;
}

std::string counts(std::uint64_t presets, std::uint64_t samples) {
  return "Presets: " + number(presets) + ", Samples: " + number(samples);
}

void readIffBank(const FileContents &contents, const std::string &fileName, const DetectionLog &log,
                 BankDetails *details) {
  details->bankFormat = kEmulatorFour;
  std::array<std::uint8_t, 4> sizeBytes{};
  if (contents.size() < kTocEntriesOffset ||
      contents.read(kTocSizeOffset, sizeBytes.data(), sizeBytes.size()) < sizeBytes.size()) {
    details->bankName = fileName;
    return;
  }
  const TocRange range = tocRange(readBE32(sizeBytes.data()), contents.size());
  log.line("E4B0", "→ TOC1 size: " + number(range.size) + ", range: 20-" + number(range.end) +
                       " (data length: " + number(contents.size()) + ")");
  const TocScan scan = scanToc(contents, range, log);
  log.line("E4B0", "→ TOC1 complete: " + number(range.entryCount) + " entries scanned, " +
                       number(scan.presets) + " presets, " + number(scan.samples) + " samples");
  details->bankName = scan.bankName.empty() ? fileName : scan.bankName;
  if (scan.presets > 0 || scan.samples > 0) {
    details->presetCount = scan.presets;
    details->sampleCount = scan.samples;
    return log.line("E4B0", "→ FINAL " + counts(scan.presets, scan.samples) + " (from TOC1)");
  }
  std::uint64_t unknown = 0;
  if (range.entryCount > 0) {
    log.line("E4B0", "→ TOC1 had entries but no recognized types. Re-scanning with permissive logic...");
    forEachTocEntry(contents, range, [&](std::uint64_t, const TocEntry &entry) {
      if (countsWhenPermissive(typeOf(entry))) ++unknown;
    });
  }
  if (unknown > 0) {
    details->presetCount = 0;
    details->sampleCount = unknown;
    return log.line("E4B0", "→ FINAL " + counts(0, unknown) + " (from unknown entries)");
  }
  // The counts deliberately keep what they were.
  log.line("E4B0", "→ FINAL Empty TOC1 (presets: 0, samples: 0)");
}

struct FormatMark {
  std::string_view text;
  BankFormatCode format;
};

// Looks for the marks in the contents before their first zero byte. The first of the list that occurs
// anywhere wins. Reads in pieces that overlap by the longest mark.
BankFormatCode searchFormat(const FileContents &contents) {
  static constexpr std::array<FormatMark, 4> marks{{{"EMULATOR THREE", kEmulatorThree},
                                                    {"EMULATOR 3X", kEmulator3X},
                                                    {"EMU SI-32", kEsi32},
                                                    {"ESI-32", kEsi32}}};
  constexpr std::size_t overlap = marks[0].text.size() - 1;
  constexpr std::size_t pieceSize = std::size_t{64} * 1024;
  std::string piece;
  std::size_t best = marks.size();
  for (std::uint64_t offset = 0; offset < contents.size() && best > 0; offset += pieceSize) {
    piece.erase(0, piece.size() > overlap ? piece.size() - overlap : 0);
    const std::size_t kept = piece.size();
    piece.resize(kept + pieceSize);
    const std::uint64_t got =
        contents.read(offset, reinterpret_cast<std::uint8_t *>(piece.data() + kept), pieceSize);
    piece.resize(kept + got);
    const std::size_t zero = piece.find('\0', kept);
    const bool isLast = zero != std::string::npos || got < pieceSize;
    if (zero != std::string::npos) piece.resize(zero);
    for (std::size_t i = 0; i < best; ++i) {
      if (::memmem(piece.data(), piece.size(), marks[i].text.data(), marks[i].text.size())) best = i;
    }
    if (isLast) break;
  }
  return best < marks.size() ? marks[best].format : kUnknown;
}

BankFormatCode legacyFormat(const std::uint8_t *header, const FileContents &contents) {
  if (beginsWith(header, "EMULATOR THREE ")) return kEmulatorThree;
  if (beginsWith(header, "EMULATOR 3X")) return kEmulator3X;
  if (beginsWith(header, "EMU SI-32 v3 ")) return kEsi32;
  return searchFormat(contents);
}

void readLegacyCounts(const std::uint8_t *bytes, const DetectionLog &log, BankDetails *details) {
  const auto described = [](const char *order, std::uint32_t word) {
    return std::string("→ Objects(") + order + "): " + formatted("0x%08x", word) + " → " +
           counts(word & 0xFFFF, word >> 16);
  };
  const std::uint32_t little = format::readLE32(bytes);
  log.line("Legacy", described("LE", little));
  if (little != 0) {
    details->presetCount = little & 0xFFFF;
    details->sampleCount = little >> 16;
    return;
  }
  if (details->bankFormat == kUnknown) return;
  details->presetCount = 0;
  details->sampleCount = 0;
  // The little-endian reading decides; this one is consulted only after it was zero.
  const std::uint32_t big = readBE32(bytes);
  log.line("Legacy", described("BE", big));
  if (big == 0) return;
  details->presetCount = big & 0xFFFF;
  details->sampleCount = big >> 16;
  log.line("Legacy", "→ Using Big-Endian values");
}

void readLegacyBank(const FileContents &contents, const std::string &fileName, const DetectionLog &log,
                    BankDetails *details) {
  std::array<std::uint8_t, kLegacyHeaderSize> header{};
  if (contents.size() < header.size() || contents.read(0, header.data(), header.size()) < header.size()) {
    return log.line("Legacy", "→ Header too short (" + number(contents.size()) + " bytes)");
  }
  log.line("Legacy", "→ Format string: '" + shownText(header.data(), kLegacyFormatSize) + "'");
  details->bankFormat = legacyFormat(header.data(), contents);
  const std::string name = paddedField(header.data() + kLegacyNameOffset, kBankNameSize);
  if (name.empty()) {
    details->bankName = fileName;
  } else if (isValidUtf8(name)) {
    details->bankName = name;
  } else {
    details->bankName.reset(); // deliberately not the file's name here
  }
  readLegacyCounts(header.data() + kLegacyCountsOffset, log, details);
  log.line("Legacy", "→ FINAL: " + counts(details->presetCount, details->sampleCount) +
                         ", Format: " + std::to_string(details->bankFormat));
}

} // namespace

const char *bankFormatName(std::int64_t bankFormat) {
  switch (bankFormat) {
  case kEmulatorThree:
    return "Emulator III";
  case kEmulator3X:
    return "Emulator 3X";
  case kEsi32:
    return "ESI-32 v3";
  case kEmulatorFour:
    return "Emulator IV";
  default:
    return nullptr;
  }
}

bool analyseBank(const FileContents &contents, const std::string &fileName, BankDetails *details) {
  std::array<std::uint8_t, kMinHeaderSize> header{};
  if (contents.read(0, header.data(), header.size()) < header.size()) return false;
  const DetectionLog log(fileName);
  const std::uint8_t *const formType = header.data() + kFormTypeOffset;
  const bool isForm = beginsWith(header.data(), "FORM");
  if (isForm && (beginsWith(formType, "E4B") || beginsWith(formType, "E3B"))) {
    log.line("Format", "→ Detected as E4B/E3B variant (IFF format): " + shownText(formType, 4));
    readIffBank(contents, fileName, log, details);
    return true;
  }
  if (isForm) log.line("Format", "→ Not an E4B/E3B format. Signature: " + shownText(formType, 4));
  readLegacyBank(contents, fileName, log, details);
  return true;
}

} // namespace tessary
