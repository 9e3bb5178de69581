#pragma once

#include "tessary/EMU3Error.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace tessary {

/// The host folder with the copies that one step of the history needs. It goes, off the calling thread, with
/// the last step that has it. Any thread.
class UndoCopies final {
public:
  /// A new, empty folder of this user alone, for so many bytes: in the user's cache; where that lacks room
  /// or cannot be written, in the host's temporary directory. Null with the error where neither will do.
  [[nodiscard]] static std::shared_ptr<const UndoCopies> make(std::uint64_t bytes, EMU3Error *error);

  ~UndoCopies();
  UndoCopies(const UndoCopies &) = delete;
  UndoCopies &operator=(const UndoCopies &) = delete;

  [[nodiscard]] const std::string &folder() const { return folder_; }
  /// Whether the copies outlast the steps, for a month, as those of a program that was killed do: as long as
  /// they may be all that there is of a sound that is being brought back.
  void setOutlasting(bool isOutlasting) const { isOutlasting_ = isOutlasting; }
  /// Of copying into it, in the user's words: the folder's own name says nothing to anybody.
  [[nodiscard]] EMU3Error copyingFailed(const EMU3Error &error) const;

private:
  UndoCopies(std::string folder, std::string above, int claim)
      : folder_(std::move(folder)), above_(std::move(above)), claim_(claim) {}

  const std::string folder_;
  const std::string above_; ///< the cache, or the temporary directory
  mutable std::atomic<bool> isOutlasting_ = false;
  const int claim_; ///< descriptor that tells other programs that the copies are in use; -1 for none
};

} // namespace tessary
