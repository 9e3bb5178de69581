#include "tests/cli/ProjectFile.h"

namespace tessary::test {

std::string projectFile(const std::string &path) {
  return std::string(TESSARY_SOURCE_FOLDER "/").append(path);
}

} // namespace tessary::test
