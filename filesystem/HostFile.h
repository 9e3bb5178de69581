#pragma once

#include "tessary/ByteBuffer.h"
#include "tessary/EMU3Error.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tessary {

/// A regular file of the host, open for reading. Anything else (folder, FIFO, device, socket) is refused
/// without being opened, so a FIFO never blocks. Errors are the host's, and name the file.
class HostFile final {
public:
  /// What the caller has seen at the path.
  enum class Seen {
    nothing,
    regularFile, ///< one look less; what came in its place since is refused too, once it is open
  };

  static std::optional<HostFile> open(const std::string &path, EMU3Error *error, Seen seen = Seen::nothing);
  ~HostFile();
  HostFile(HostFile &&other) noexcept;
  HostFile(const HostFile &) = delete;
  HostFile &operator=(const HostFile &) = delete;
  HostFile &operator=(HostFile &&) = delete;

  /// Bytes, when it was opened.
  [[nodiscard]] std::uint64_t size() const { return size_; }
  /// All its bytes; null with the error. A file that became shorter meanwhile is an error too.
  [[nodiscard]] ByteBufferPtr readWhole(EMU3Error *error) const;

private:
  HostFile(std::string path, int descriptor, std::uint64_t size);

  std::string path_;
  int descriptor_;
  std::uint64_t size_;
};

} // namespace tessary
