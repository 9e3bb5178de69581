#pragma once

#include <cstdint>
#include <string>

/// A medium that is damaged in places, for programs that are linked with `tessary_unreadable_pages`.
namespace tessary::test {

/// As long as it lives, the page at `offset` of the file cannot be read past its mapping; in its one mapping,
/// where it can be neither read nor written, a page of an empty file stays in its place. The constructor
/// throws std::system_error.
class UnreadablePage final {
public:
  UnreadablePage(const std::string &path, std::uint64_t offset);
  ~UnreadablePage();
  UnreadablePage(const UnreadablePage &) = delete;
  UnreadablePage &operator=(const UnreadablePage &) = delete;
};

} // namespace tessary::test
