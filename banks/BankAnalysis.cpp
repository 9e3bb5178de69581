#include "banks/BankAnalysis.h"

#include "banks/BankContents.h"
#include "banks/BankFormat.h"
#include "banks/DetectionLog.h"
#include "filesystem/DiskFormat.h"
#include "tessary/Text.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tessary {
namespace {

using namespace bank;

/// What a bank begins with, as far as it could be read.
struct Header {
  std::array<std::uint8_t, kLegacyHeaderSize> bytes{};
  std::uint64_t size = 0;
};

// Whether the second, permissive pass counts an entry: anything but presets and the two sample types that
// it leaves out.
bool countsWhenPermissive(const TypeBytes &type) {
  const std::optional<BankEntryKind> kind = kindOfBankEntry(type);
  return kind && kind != BankEntryKind::preset && !beginsWith(type, "E3I") && !beginsWith(type, "E4I");
}

std::string entryLine(std::uint64_t index, const TocEntry &entry) {
  const TypeBytes type = typeOf(entry);
  const std::string start = "entry " + number(index + 1) + ": ";
  const std::string facts = typeAndSize(type.data(), readBE32(entry.data() + type.size()));
  if (!kindOfBankEntry(type)) return start + "[NULL/DELETED] " + facts;
  const std::string text = withReplacement(type.data(), type.size(), '?');
  const bool isText = withReplacement(type.data(), type.size(), '.') == text; // nothing was replaced
  return start + "'" + text + "' " + facts + (isText ? " bytes" : " bytes [binary]");
}

struct TocScan {
  std::uint64_t presets = 0;
  std::uint64_t samples = 0;
  std::string bankName; ///< of the first preset that has one; empty when none has
};

TocScan scanToc(const FileContents &contents, const TocRange &range, const DetectionLog &log) {
  TocScan scan;
  TypeBytes typeBefore{};
  std::optional<BankEntryKind> kind = kindOfBankEntry(typeBefore);
  forEachTocEntry(contents, range, [&](std::uint64_t index, const TocEntry &entry) {
    const TypeBytes type = typeOf(entry);
    log.line("E4B0", [&] { return entryLine(index, entry); });
    if (type != typeBefore) kind = kindOfBankEntry(type); // mostly it is that of the entry before
    typeBefore = type;
    if (!kind) return;
    switch (*kind) {
    case BankEntryKind::preset:
      ++scan.presets;
      if (scan.bankName.empty()) {
        std::string name = paddedField(entry.data() + kTocEntryNameOffset, kBankNameSize);
        if (isValidUtf8(name)) scan.bankName = std::move(name);
      }
      log.line("E4B0", [&] { return "✓ Preset found: " + shownText(type.data(), type.size()); });
      break;
    case BankEntryKind::sample:
      ++scan.samples;
      log.line("E4B0", [&] { return "✓ Sample/Audio found: " + shownText(type.data(), type.size()); });
      break;
    case BankEntryKind::other:
      log.line("E4B0", [&] {
        return "? Unknown chunk type: " + withReplacement(type.data(), type.size(), '.') +
               " (not counted in standard scan)";
      });
      break;
    }
  });
  return scan;
}

void readIffBank(const FileContents &contents, const Header &header, const std::string &fileName,
                 const DetectionLog &log, BankDetails *details) {
  details->bankFormat = kEmulatorFour;
  if (header.size < kTocEntriesOffset) {
    details->bankName = fileName;
    return;
  }
  const TocRange range = tocRange(readBE32(header.bytes.data() + kTocSizeOffset), contents.size());
  log.line("E4B0", [&] {
    return "→ TOC1 size: " + number(range.size) + ", range: 20-" + number(range.end) +
           " (data length: " + number(contents.size()) + ")";
  });
  const TocScan scan = scanToc(contents, range, log);
  log.line("E4B0", [&] {
    return "→ TOC1 complete: " + number(range.entryCount) + " entries scanned, " + number(scan.presets) +
           " presets, " + number(scan.samples) + " samples";
  });
  details->bankName = scan.bankName.empty() ? fileName : scan.bankName;
  if (scan.presets > 0 || scan.samples > 0) {
    details->presetCount = scan.presets;
    details->sampleCount = scan.samples;
    return log.line("E4B0", [&] { return "→ FINAL " + counts(scan.presets, scan.samples) + " (from TOC1)"; });
  }
  std::uint64_t unknown = 0;
  if (range.entryCount > 0) {
    log.line("E4B0", [] {
      return "→ TOC1 had entries but no recognized types. Re-scanning with permissive logic...";
    });
    forEachTocEntry(contents, range, [&](std::uint64_t, const TocEntry &entry) {
      if (countsWhenPermissive(typeOf(entry))) ++unknown;
    });
  }
  if (unknown > 0) {
    details->presetCount = 0;
    details->sampleCount = unknown;
    return log.line("E4B0", [&] { return "→ FINAL " + counts(0, unknown) + " (from unknown entries)"; });
  }
  // The counts deliberately keep what they were.
  log.line("E4B0", [] { return "→ FINAL Empty TOC1 (presets: 0, samples: 0)"; });
}

struct FormatMark {
  std::string_view text;
  BankFormatCode format;
};

// Looks for the marks in the contents before their first zero byte. The first of the list that occurs
// anywhere wins. Reads in pieces that overlap by the longest mark; small ones, since most banks have a zero
// byte in the first.
BankFormatCode searchFormat(const FileContents &contents) {
  static constexpr std::array<FormatMark, 4> marks{{{"EMULATOR THREE", kEmulatorThree},
                                                    {"EMULATOR 3X", kEmulator3X},
                                                    {"EMU SI-32", kEsi32},
                                                    {"ESI-32", kEsi32}}};
  constexpr std::size_t mostKept = marks[0].text.size() - 1;
  constexpr std::size_t pieceSize = 2048;
  std::array<char, mostKept + pieceSize> buffer; // not filled: each byte is read before it is looked at
  std::size_t kept = 0;
  std::size_t best = marks.size();
  for (std::uint64_t offset = 0; offset < contents.size() && best > 0; offset += pieceSize) {
    const std::uint64_t got =
        contents.read(offset, reinterpret_cast<std::uint8_t *>(buffer.data() + kept), pieceSize);
    const std::string_view read(buffer.data(), kept + got);
    const std::string_view piece = read.substr(0, read.find('\0', kept));
    for (std::size_t i = 0; i < best; ++i) {
      if (piece.find(marks[i].text) != piece.npos) best = i;
    }
    if (piece.size() < read.size() || got < pieceSize) break;
    kept = std::min(mostKept, piece.size());
    std::copy(piece.end() - static_cast<std::ptrdiff_t>(kept), piece.end(), buffer.begin());
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
    return std::string("→ Objects(") + order + "): " + hexWord(word) + " → " +
           counts(word & 0xFFFF, word >> 16);
  };
  const std::uint32_t little = format::readLE32(bytes);
  log.line("Legacy", [&] { return described("LE", little); });
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
  log.line("Legacy", [&] { return described("BE", big); });
  if (big == 0) return;
  details->presetCount = big & 0xFFFF;
  details->sampleCount = big >> 16;
  log.line("Legacy", [] { return "→ Using Big-Endian values"; });
}

void readLegacyBank(const FileContents &contents, const Header &header, const std::string &fileName,
                    const DetectionLog &log, BankDetails *details) {
  if (header.size < header.bytes.size())
    return log.line("Legacy", [&] { return "→ Header too short (" + number(contents.size()) + " bytes)"; });
  const std::uint8_t *const bytes = header.bytes.data();
  log.line("Legacy", [&] { return "→ Format string: '" + shownText(bytes, kLegacyFormatSize) + "'"; });
  details->bankFormat = legacyFormat(bytes, contents);
  const std::string name = paddedField(bytes + kLegacyNameOffset, kBankNameSize);
  if (name.empty()) {
    details->bankName = fileName;
  } else if (isValidUtf8(name)) {
    details->bankName = name;
  } else {
    details->bankName.reset(); // deliberately not the file's name here
  }
  readLegacyCounts(bytes + kLegacyCountsOffset, log, details);
  log.line("Legacy", [&] {
    return "→ FINAL: " + counts(details->presetCount, details->sampleCount) +
           ", Format: " + std::to_string(details->bankFormat);
  });
}

} // namespace

bool analyseBank(const FileContents &contents, const std::string &fileName, BankDetails *details) {
  Header header;
  header.size = contents.read(0, header.bytes.data(), header.bytes.size());
  if (header.size < kMinHeaderSize) return false;
  const DetectionLog log(fileName);
  const std::uint8_t *const formType = header.bytes.data() + kFormTypeOffset;
  const bool isForm = beginsWith(header.bytes.data(), "FORM");
  if (isForm && (beginsWith(formType, "E4B") || beginsWith(formType, "E3B"))) {
    log.line("Format",
             [&] { return "→ Detected as E4B/E3B variant (IFF format): " + shownText(formType, 4); });
    readIffBank(contents, header, fileName, log, details);
    return true;
  }
  if (isForm)
    log.line("Format", [&] { return "→ Not an E4B/E3B format. Signature: " + shownText(formType, 4); });
  readLegacyBank(contents, header, fileName, log, details);
  return true;
}

} // namespace tessary
