#pragma once

#include <memory>
#include <string>

#include <regex.h>

namespace tessary::test {

/// An extended regular expression. Unlike the standard library's it takes answers of any length: one line can
/// list all of a volume.
class Pattern final {
public:
  /// Throws `std::invalid_argument` where it is none.
  explicit Pattern(const std::string &expression);

  /// Whether it is the whole text that matches.
  [[nodiscard]] bool matches(const std::string &text) const;
  /// The text without what matches.
  [[nodiscard]] std::string takenOutOf(const std::string &text) const;

private:
  std::shared_ptr<const regex_t> compiled_;
};

} // namespace tessary::test
