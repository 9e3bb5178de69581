#include "tests/support/Pattern.h"

#include <cstddef>
#include <stdexcept>

namespace tessary::test {

Pattern::Pattern(const std::string &expression) {
  auto compiled = std::make_unique<regex_t>();
  if (regcomp(compiled.get(), expression.c_str(), REG_EXTENDED) != 0)
    throw std::invalid_argument("no regular expression: " + expression);
  compiled_ = std::shared_ptr<const regex_t>(compiled.release(), [](const regex_t *expired) {
    auto *const owned = const_cast<regex_t *>(expired);
    regfree(owned);
    delete owned;
  });
}

bool Pattern::matches(const std::string &text) const {
  regmatch_t match{};
  return regexec(compiled_.get(), text.c_str(), 1, &match, 0) == 0 && match.rm_so == 0 &&
         match.rm_eo == static_cast<regoff_t>(text.size());
}

std::string Pattern::takenOutOf(const std::string &text) const {
  std::string rest;
  const char *from = text.c_str();
  regmatch_t match{};
  while (regexec(compiled_.get(), from, 1, &match, from == text.c_str() ? 0 : REG_NOTBOL) == 0) {
    rest.append(from, static_cast<std::size_t>(match.rm_so));
    from += match.rm_eo;
    if (match.rm_eo > match.rm_so) continue;
    if (*from == '\0') break;
    rest += *from++; // nothing matched here, and would again
  }
  return rest + from;
}

} // namespace tessary::test
