#pragma once

#include "filesystem/FileReading.h"
#include "filesystem/Volume.h"
#include "tessary/ByteBuffer.h"
#include "tessary/EMU3Error.h"

#include <chrono>
#include <optional>
#include <thread>

/// Reading a file's contents while another program may change the image.
namespace tessary {

template <typename Result> bool readTheSame(const Result &first, const Result &second) {
  return first == second;
}
inline bool readTheSame(const ByteBufferPtr &first, const ByteBufferPtr &second) {
  return first && second ? *first == *second : first == second;
}

/// What `read` gives, which it reads from the file's contents, under the volume's lock. As long as the image
/// is not claimed another program may delete the file and put another in its place, even one with the same
/// entry: so it is read until `readsAgain` says that a second reading gives the same while the file's entry
/// stands as it stood. None, with code 5, when the file has left the tree, or goes on changing.
template <typename Read, typename ReadsAgain>
[[nodiscard]] auto readUndisturbed(Volume &volume, const EMU3FilePtr &file, EMU3Error *error,
                                   const Read &read, const ReadsAgain &readsAgain)
    -> std::optional<decltype(read())> {
  constexpr int mostAttempts = 12;
  constexpr std::chrono::milliseconds pause(5);
  for (int attempt = 0; attempt < mostAttempts; ++attempt) {
    if (attempt > 0) std::this_thread::sleep_for(pause);
    const ReadLock lock(volume.lock);
    if (!mayReadFile(volume, file, error)) return std::nullopt;
    auto first = read();
    if (!volume.mayChangeBeside()) return first;
    if (!volume.entryStands(*file)) continue;
    const bool isTheSame = readsAgain(first);
    if (volume.entryStands(*file) && isTheSame) return first;
  }
  fail(error, EngineError::entryNotFound);
  return std::nullopt;
}

/// The same, where the second reading is another call of `read`.
template <typename Read>
[[nodiscard]] auto readUndisturbed(Volume &volume, const EMU3FilePtr &file, EMU3Error *error,
                                   const Read &read) -> std::optional<decltype(read())> {
  return readUndisturbed(volume, file, error, read,
                         [&](const auto &first) { return readTheSame(first, read()); });
}

} // namespace tessary
