#include "app/history/UndoCopies.h"

#include "app/PrivateFolder.h"
#include "app/WorkQueue.h"
#include "tessary/SystemLog.h"

#include <QFile>
#include <QStandardPaths>
#include <QThreadPool>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace tessary {
namespace {

namespace fs = std::filesystem;

constexpr const char *kKind = "Undo";

// Room that is left free on the host besides the copies.
constexpr std::uint64_t kSpare = std::uint64_t{16} << 20;

std::optional<std::string> userCache() {
  const std::string path =
      QFile::encodeName(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation)).toStdString();
  std::error_code problem;
  if (!path.empty()) fs::create_directories(path, problem);
  if (path.empty() || problem) return std::nullopt;
  return path;
}

/// Where copies may lie. The temporary directory comes last: it may be memory.
std::vector<std::string> places() {
  std::vector<std::string> places;
  if (const std::optional<std::string> cache = userCache()) places.push_back(*cache);
  std::error_code problem;
  const fs::path temporary = fs::temp_directory_path(problem);
  if (!problem || places.empty()) places.push_back(temporary.native());
  return places;
}

bool hasRoom(const std::string &folder, std::uint64_t bytes) {
  std::error_code problem;
  const fs::space_info space = fs::space(folder, problem);
  return !problem && space.available >= bytes + kSpare;
}

/// Claims a folder of copies as long as the descriptor is open; -1 where it is claimed already. Programs that
/// were killed claim nothing any more.
int claim(const std::string &folder) {
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0 || ::flock(descriptor, LOCK_EX | LOCK_NB) == 0) return descriptor;
  ::close(descriptor);
  return -1;
}

void removeUnclaimed(const fs::path &folder) {
  const int descriptor = claim(folder.native());
  if (descriptor < 0) return;
  std::error_code ignored;
  fs::remove_all(folder, ignored);
  ::close(descriptor);
}

// Copies that a program left that was killed: they may be somebody's only ones, so they stay for a month.
void removeForgotten(const std::string &folders) {
  constexpr std::chrono::hours month(24 * 30);
  std::error_code problem;
  for (fs::directory_iterator entry(folders, problem), end; !problem && entry != end;
       entry.increment(problem)) {
    std::error_code unknown;
    const auto age = fs::file_time_type::clock::now() - entry->last_write_time(unknown);
    if (!unknown && age > month) removeUnclaimed(entry->path());
  }
}

EMU3Error failedIn(const std::string &above, int errnum) {
  return hostError(errnum, "Copy for undo in " + above);
}

} // namespace

std::shared_ptr<const UndoCopies> UndoCopies::make(std::uint64_t bytes, EMU3Error *error) {
  EMU3Error failure; // of the first place: that is where the user can help
  for (const std::string &above : places()) {
    EMU3Error problem = failedIn(above, ENOSPC);
    const std::optional<std::string> folder =
        hasRoom(above, bytes) ? makePrivateFolder(above, kKind, &problem) : std::nullopt;
    if (folder) {
      removeForgotten(fs::path(*folder).parent_path());
      return std::shared_ptr<const UndoCopies>(new UndoCopies(*folder, above, claim(*folder)));
    }
    if (!failure.isSet()) failure = problem;
  }
  fail(error, failure);
  return nullptr;
}

EMU3Error UndoCopies::copyingFailed(const EMU3Error &error) const {
  return error.domain == kHostErrorDomain ? failedIn(above_, static_cast<int>(error.code)) : error;
}

UndoCopies::~UndoCopies() {
  if (isOutlasting_) systemLog("What could not be brought back is left in " + folder_);
  workQueue().start([folder = folder_, claim = claim_, isOutlasting = bool(isOutlasting_)] {
    std::error_code ignored;
    if (!isOutlasting) fs::remove_all(folder, ignored);
    if (claim >= 0) ::close(claim);
  });
}

} // namespace tessary
