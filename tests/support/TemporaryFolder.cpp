#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace tessary::test {

TemporaryFolder::TemporaryFolder() {
  path_ = (std::filesystem::temp_directory_path() / "tessary-test-XXXXXX").string();
  if (::mkdtemp(path_.data()) == nullptr) throw std::system_error(errno, std::generic_category(), path_);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  // A folder that a test took the permissions of must not stay behind.
  for (auto it = std::filesystem::recursive_directory_iterator(
           path_, std::filesystem::directory_options::skip_permission_denied, ignored);
       !ignored && it != std::filesystem::recursive_directory_iterator(); it.increment(ignored))
    if (it->is_directory(ignored) && !it->is_symlink(ignored))
      std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                   std::filesystem::perm_options::add, ignored);
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::path(std::string_view name) const {
  return path_ + "/" + std::string(name);
}

} // namespace tessary::test
