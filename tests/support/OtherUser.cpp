#include "tests/support/OtherUser.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <unistd.h>

namespace tessary::test {

namespace {
constexpr uid_t kNobody = 65534;

// The saved user id stays root's, so that root's rights can be taken back. On Linux the real user id changes
// too: access(2) goes by that one.
bool become(uid_t user) {
#ifdef __linux__
  return ::setresuid(user, user, 0) == 0;
#else
  return ::seteuid(user) == 0;
#endif
}

} // namespace

OtherUser::OtherUser() {
  if (::geteuid() != 0) return;
  if (!become(kNobody)) throw std::system_error(errno, std::generic_category(), "cannot change the user");
  switched_ = true;
}

OtherUser::~OtherUser() {
  if (switched_ && !become(0)) std::abort(); // no test after this one would mean anything
}

} // namespace tessary::test
