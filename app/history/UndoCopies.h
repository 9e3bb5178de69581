#pragma once

#include "tessary/EMU3Error.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace tessary {

/// The host folder with the copies that one step of the history needs. It goes, off the calling thread, with
/// the last step that has it. Any thread.
class UndoCopies final {
public:
  /// A new, empty folder of this user alone, for so many bytes: in the user's cache; where that lacks room,
  /// in the host's temporary directory. Null with the error where neither has room.
  [[nodiscard]] static std::shared_ptr<const UndoCopies> make(std::uint64_t bytes, EMU3Error *error);

  ~UndoCopies();
  UndoCopies(const UndoCopies &) = delete;
  UndoCopies &operator=(const UndoCopies &) = delete;

  [[nodiscard]] const std::string &folder() const { return folder_; }

private:
  explicit UndoCopies(std::string folder) : folder_(std::move(folder)) {}

  const std::string folder_;
};

} // namespace tessary
