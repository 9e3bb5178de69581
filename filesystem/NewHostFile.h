#pragma once

#include "tessary/EMU3Error.h"
#include "tessary/HostPath.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace tessary {

/// A host file that is written whole before it appears under its name: on failure an earlier file of that
/// name is untouched and nothing is left behind. Where the host can make a file without a name, a kill leaves
/// nothing either. Errors are the host's, and name the file. One thread at a time.
class NewHostFile final {
public:
  /// What an earlier file of the name means.
  enum class Earlier {
    replaced, ///< it keeps its permissions; where the name is a link, the file that it leads to is replaced
    linkReplaced, ///< the same, but where the name is a link, the link itself
    refused,
  };

  NewHostFile() = default;
  ~NewHostFile();
  NewHostFile(NewHostFile &&other) noexcept;
  NewHostFile &operator=(NewHostFile &&other) noexcept;

  /// What stands at the path, as far as the caller has just looked.
  enum class Standing { unknown, nothing };

  /// Makes the file, empty and not there yet. False with the error.
  [[nodiscard]] bool create(const std::string &path, Earlier earlier, EMU3Error *error,
                            Standing standing = Standing::unknown);
  /// Gives it another path, in the same folder. False with the error.
  [[nodiscard]] bool redirect(const std::string &path, EMU3Error *error);
  /// Appends.
  [[nodiscard]] bool write(std::span<const std::uint8_t> bytes, EMU3Error *error);
  /// Has the host begin to bring what was written to the medium, so that of several files the first flush
  /// waits for most of it.
  void startFlush();
  /// Brings what was written to the medium, and waits for it.
  [[nodiscard]] bool flush(EMU3Error *error);
  /// Gives the file its name. It must have been flushed: else a power cut could leave the name with other
  /// bytes.
  [[nodiscard]] bool publish(EMU3Error *error);
  /// Gives the file its name where nothing has that yet; publish() then only closes it. False where something
  /// has the name, or the host has no links.
  [[nodiscard]] bool takeName();

  [[nodiscard]] const std::string &path() const { return path_; }
  /// Of the file that was created last.
  [[nodiscard]] const HostFileId &id() const { return id_; }
  /// Open for reading and writing; owned by the file.
  [[nodiscard]] int descriptor() const { return fd_; }

private:
  [[nodiscard]] bool aimAt(const std::string &path, EMU3Error *error);
  void takePermissions();
  [[nodiscard]] bool createNamed();
  [[nodiscard]] bool giveName(const std::string &path);
  [[nodiscard]] bool replace();
  [[nodiscard]] bool takeFreeName();
  void giveUp();

  std::string path_;
  std::string target_;        ///< `path_`, or where that leads
  std::string temporaryPath_; ///< empty as long as the file has no name
  Earlier earlier_ = Earlier::replaced;
  std::optional<std::uint32_t> permissions_; ///< of the file that it replaces
  std::uint32_t newPermissions_ = 0;         ///< of a new one
  HostFileId id_{};
  bool hasName_ = false;
  int fd_ = -1;
};

/// Brings the entries of the folder that holds `path` to the medium, and waits for it: a file's new name is
/// one.
[[nodiscard]] bool flushFolderOf(const std::string &path, EMU3Error *error);

} // namespace tessary
