#include "tessary/ExportNames.h"

#include "filesystem/HostFileName.h"
#include "tessary/Text.h"

namespace tessary {

HostName exportedFileName(const std::string &fileName) {
  return {hostFileName(fileName), ".E4B"};
}

HostName exportedFolderName(const std::string &folderName) {
  return {hostFileName(folderName), ""};
}

HostName exportedSampleName(const std::string &bankName, const std::string &sampleName) {
  return {hostFileName(bankName + "_" + sampleName), ".wav"};
}

std::string nameOfExportedFile(const std::string &path) {
  return nameFromHostFileName(withoutExtension(lastPathComponent(path)));
}

} // namespace tessary
