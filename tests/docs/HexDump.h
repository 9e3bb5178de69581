#pragma once

#include "tests/support/ImageBuilder.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tessary::test {

/// Values that a document states below a dump: "= file: name Clap, entryId 0".
struct StatedFacts {
  std::string kind;                          ///< "file"
  std::map<std::string, std::string> values; ///< "name" → "Clap"
};

/// A fenced block "```hexdump SOURCE" of a document: lines of 16 bytes with offset and text, then facts.
struct HexDump {
  std::string where;  ///< document and line, for messages
  std::string source; ///< what the bytes are of
  std::uint64_t offset = 0;
  Bytes bytes;
  std::vector<StatedFacts> facts;
};

/// All dumps of a document, in order. Throws std::runtime_error for a line that is no line of a dump, an
/// offset that does not follow on, or text that does not belong to the bytes.
std::vector<HexDump> hexDumpsOf(const std::string &documentPath);

} // namespace tessary::test
