#include "tests/docs/HexDump.h"

#include "tests/support/HostFiles.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace tessary::test {

namespace {

constexpr std::size_t kBytesPerLine = 16;
constexpr std::string_view kFence = "```";
constexpr std::string_view kOpening = "```hexdump ";

std::string trimmed(const std::string &text) {
  const auto begin = text.find_first_not_of(' ');
  return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

std::string asText(const Bytes &bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes)
    text += byte >= 0x20 && byte <= 0x7E ? static_cast<char>(byte) : '.';
  return text;
}

void addDumpLine(HexDump &dump, const std::string &line) {
  const auto bar = line.find('|');
  if (bar == std::string::npos || line.back() != '|') throw std::runtime_error("no text column: " + line);
  std::istringstream numbers(line.substr(0, bar));
  std::uint64_t offset = 0;
  if (!(numbers >> std::hex >> offset)) throw std::runtime_error("no offset: " + line);
  if (dump.bytes.empty())
    dump.offset = offset;
  else if (offset != dump.offset + dump.bytes.size() || dump.bytes.size() % kBytesPerLine != 0)
    throw std::runtime_error("offset does not follow on: " + line);
  Bytes bytes;
  for (unsigned byte = 0; numbers >> byte;) {
    if (byte > 0xFF) throw std::runtime_error("no byte: " + line);
    bytes.push_back(static_cast<std::uint8_t>(byte));
  }
  if (!numbers.eof() || bytes.empty() || bytes.size() > kBytesPerLine)
    throw std::runtime_error("not the bytes of a line: " + line);
  if (line.substr(bar + 1, line.size() - bar - 2) != asText(bytes))
    throw std::runtime_error("text is not that of the bytes: " + line);
  dump.bytes.insert(dump.bytes.end(), bytes.begin(), bytes.end());
}

StatedFacts parseFacts(const std::string &line) {
  StatedFacts facts;
  const auto colon = line.find(':');
  if (colon == std::string::npos) throw std::runtime_error("facts of what: " + line);
  facts.kind = trimmed(line.substr(1, colon - 1));
  std::istringstream rest(line.substr(colon + 1));
  for (std::string fact; std::getline(rest, fact, ',');) {
    fact = trimmed(fact);
    const auto space = fact.find(' ');
    if (space == std::string::npos) throw std::runtime_error("fact without a value: " + line);
    facts.values[fact.substr(0, space)] = fact.substr(space + 1);
  }
  return facts;
}

} // namespace

std::vector<HexDump> hexDumpsOf(const std::string &documentPath) {
  std::istringstream document(readText(documentPath));
  std::vector<HexDump> dumps;
  bool inside = false;
  std::size_t number = 0;
  for (std::string raw; std::getline(document, raw);) {
    const std::string line = trimmed(raw); // a dump inside a list is indented
    const std::string where = documentPath + ":" + std::to_string(++number);
    if (!inside && line.starts_with(kOpening)) {
      dumps.push_back({.where = where, .source = line.substr(kOpening.size()), .bytes = {}, .facts = {}});
      inside = true;
    } else if (inside && line == kFence) {
      inside = false;
    } else if (inside) {
      try {
        if (line.starts_with('='))
          dumps.back().facts.push_back(parseFacts(line));
        else
          addDumpLine(dumps.back(), line);
      } catch (const std::runtime_error &mistake) {
        throw std::runtime_error(where + ": " + mistake.what());
      }
    }
  }
  if (inside) throw std::runtime_error(documentPath + ": the last dump has no end");
  return dumps;
}

} // namespace tessary::test
