#pragma once

namespace tessary::test {

/// Gives up the rights of root for the scope, so that permissions of files mean something to a test that
/// runs as root. Does nothing for any other user.
class OtherUser {
public:
  OtherUser();
  ~OtherUser();
  OtherUser(const OtherUser &) = delete;
  OtherUser &operator=(const OtherUser &) = delete;

private:
  bool switched_ = false;
};

} // namespace tessary::test
