#include "tests/durability/Asked.h"

namespace tessary::test {

Asked &Asked::operator+=(const Asked &other) {
  const std::size_t folders = newFolders.size();
  const auto shifted = [&](auto item) {
    if (item.parent.newFolder) *item.parent.newFolder += folders;
    return item;
  };
  for (const NewFolder &folder : other.newFolders)
    newFolders.push_back(shifted(folder));
  for (const NewFile &file : other.newFiles)
    newFiles.push_back(shifted(file));
  moved.insert(other.moved.begin(), other.moved.end());
  renamed.insert(other.renamed.begin(), other.renamed.end());
  deleted.insert(other.deleted.begin(), other.deleted.end());
  return *this;
}

} // namespace tessary::test
