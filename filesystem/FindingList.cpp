#include "filesystem/FindingList.h"

#include <utility>

namespace tessary {
namespace {

constexpr std::size_t kMostFindingsOfAKind = 200;

} // namespace

void FindingList::add(const FindingKind &kind, std::string message, FindingSubject subject) {
  if (++counts_[kind.word] > kMostFindingsOfAKind) return;
  if (subject.file && !subject.place) subject.place = subject.file->place();
  findings_.push_back({std::string(kind.word), std::move(message), std::move(subject.folder),
                       std::move(subject.file), subject.place});
}

std::vector<VolumeFinding> FindingList::take() {
  for (const auto &[word, count] : counts_) {
    if (count <= kMostFindingsOfAKind) continue;
    findings_.push_back({std::string(word),
                         "There are " + std::to_string(count - kMostFindingsOfAKind) + " more of this kind.",
                         nullptr, nullptr, std::nullopt});
  }
  counts_.clear();
  return std::exchange(findings_, {});
}

std::string quoted(const std::string &name) {
  return "“" + name + "”";
}

std::string quotedWithFolder(const EMU3File &file, const EMU3Directory &folder) {
  return quoted(file.name()) + " in the folder " + quoted(folder.name());
}

std::string counted(std::uint64_t count, const std::string &what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string blockRange(std::uint64_t begin, std::uint64_t end) {
  if (end - begin == 1) return "block " + std::to_string(begin);
  return "blocks " + std::to_string(begin) + " to " + std::to_string(end - 1);
}

} // namespace tessary
