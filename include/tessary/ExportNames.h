#pragma once

#include <string>

/// What the host's files are called that a volume's files are exported to.
namespace tessary {

/// A host file name: characters that the host refuses or that could steer a path are escaped in `stem`.
struct HostName {
  std::string stem;
  std::string extension; ///< with its dot

  [[nodiscard]] std::string whole() const { return stem + extension; }
};

/// The name for a file exported whole, ".E4B" whatever it holds.
[[nodiscard]] HostName exportedFileName(const std::string &fileName);
/// The name for a folder exported with its tree.
[[nodiscard]] HostName exportedFolderName(const std::string &folderName);
/// The name for a sample of a bank.
[[nodiscard]] HostName exportedSampleName(const std::string &bankName, const std::string &sampleName);

/// The name of the file that was exported to `path`: the inverse of `exportedFileName`.
[[nodiscard]] std::string nameOfExportedFile(const std::string &path);

} // namespace tessary
