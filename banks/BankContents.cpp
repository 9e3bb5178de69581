#include "banks/BankContents.h"

#include "tessary/Text.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

namespace tessary {

using namespace bank;

namespace {

// The first four bytes of a text as a big-endian number, zeros where it has fewer.
constexpr std::uint32_t wordOf(std::string_view text) {
  std::uint32_t word = 0;
  for (std::size_t i = 0; i < 4; ++i)
    word = word << 8 | (i < text.size() ? static_cast<std::uint8_t>(text[i]) : 0U);
  return word;
}

bool isEmulatorFour(const FileContents &contents, TocRange *table, bool *listsSamples) {
  std::array<std::uint8_t, kTocEntriesOffset> header{};
  if (contents.read(0, header.data(), header.size()) < header.size()) return false;
  const std::uint8_t *const formType = header.data() + kFormTypeOffset;
  if (!beginsWith(header.data(), "FORM") || (!beginsWith(formType, "E4B") && !beginsWith(formType, "E3B")))
    return false;
  *listsSamples = beginsWith(formType, "E4B0");
  *table = tocRange(readBE32(header.data() + kTocSizeOffset), contents.size());
  return true;
}

} // namespace

void ChunkPairing::add(const TypeBytes &type) {
  types_.push_back(type);
}

std::vector<std::optional<BankChunk>> ChunkPairing::chunksOf(const FileContents &contents) const {
  // By type, the entries that have no chunk yet; the first of them stands last, where it is taken off.
  std::map<TypeBytes, std::vector<std::size_t>> waiting;
  for (std::size_t entry = types_.size(); entry-- > 0;)
    waiting[types_[entry]].push_back(entry);
  std::vector<std::optional<BankChunk>> chunks(types_.size());
  std::array<std::uint8_t, kChunkHeaderSize> header{};
  for (std::uint64_t place = kFirstChunkOffset;
       !waiting.empty() && contents.read(place, header.data(), header.size()) == header.size();) {
    TypeBytes type{};
    std::copy_n(header.begin(), type.size(), type.begin());
    const std::uint64_t size = readBE32(header.data() + type.size());
    const std::uint64_t data = place + kChunkHeaderSize;
    if (const auto entries = waiting.find(type); entries != waiting.end()) {
      chunks[entries->second.back()] = {size, {data, std::min(size, contents.size() - data)}};
      entries->second.pop_back();
      if (entries->second.empty()) waiting.erase(entries);
    }
    place = data + size + size % 2;
  }
  return chunks;
}

std::vector<BankEntry> bankListing(const FileContents &contents) {
  std::vector<BankEntry> entries;
  TocRange table;
  bool listsSamples = false;
  if (!isEmulatorFour(contents, &table, &listsSamples)) return entries;
  std::uint64_t samples = 0;
  forEachTocEntry(contents, table, [&](std::uint64_t index, const TocEntry &entry) {
    const TypeBytes type = typeOf(entry);
    const std::optional<BankEntryKind> kind = kindOfBankEntry(type);
    if (!kind) return;
    entries.push_back({index, *kind, type, nameOfBankEntry(entry), std::nullopt, std::nullopt});
    if (listsSamples && isListedSample(type)) entries.back().sample = samples++;
  });
  return entries;
}

std::vector<BankEntry> bankContents(const FileContents &contents) {
  std::vector<BankEntry> entries = bankListing(contents);
  ChunkPairing pairing;
  for (const BankEntry &entry : entries)
    pairing.add(entry.type);
  const std::vector<std::optional<BankChunk>> chunks = pairing.chunksOf(contents);
  for (std::size_t i = 0; i < entries.size(); ++i)
    entries[i].chunk = chunks[i];
  return entries;
}

// One comparison of a whole word decides for nearly all entries: this runs for each entry of each bank.
std::optional<BankEntryKind> kindOfBankEntry(const TypeBytes &type) {
  const std::uint32_t word = readBE32(type.data());
  switch (word) {
  case 0:
    return std::nullopt;
  case wordOf("E3P1"):
  case wordOf("E4P1"):
    return BankEntryKind::preset;
  case wordOf("ESND"):
  case wordOf("RIFF"):
  case wordOf("FORM"):
    return BankEntryKind::sample;
  default:
    break;
  }
  switch (word & 0xFFFFFF00) { // whatever the fourth byte is
  case wordOf("E3S"):
  case wordOf("E4S"):
  case wordOf("E3I"):
  case wordOf("E4I"):
    return BankEntryKind::sample;
  default:
    return BankEntryKind::other;
  }
}

bool isListedSample(const TypeBytes &type) {
  if (!beginsWith(type, "E3S") && !beginsWith(type, "E4S") && !beginsWith(type, "ESND")) return false;
  // A type that is no text cannot be listed.
  return isValidUtf8(std::string(type.begin(), std::find(type.begin(), type.end(), 0)));
}

std::string nameOfBankEntry(const TocEntry &entry) {
  std::string name = paddedField(entry.data() + kTocEntryNameOffset, kBankNameSize);
  if (name.find_first_not_of(' ') == std::string::npos || !isValidUtf8(name))
    return bankTypeText(typeOf(entry));
  return name;
}

} // namespace tessary
