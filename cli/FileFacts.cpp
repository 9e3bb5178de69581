#include "cli/FileFacts.h"

#include "tessary/BankEntry.h"

namespace tessary::cli {
namespace {

constexpr const char *kNothing = "—";

} // namespace

std::string formatCell(const BankDetails &details) {
  const char *name = bankFormatName(details.bankFormat);
  return name != nullptr ? name : kNothing;
}

std::string countCell(std::uint64_t count) {
  return count == 0 ? kNothing : std::to_string(count);
}

void writeFile(JsonWriter &writer, const EMU3File &file) {
  const EMU3FileFields fields = file.fields();
  const BankDetails details = file.bankDetails();
  writer.beginObject()
      .member("name", fields.name)
      .member("rawType", fields.rawType)
      .member("entryId", fields.entryId)
      .member("startCluster", fields.startCluster)
      .member("clusterCount", fields.clusterCount)
      .member("blocksInLastCluster", fields.blocksInLastCluster)
      .member("bytesInLastBlock", fields.bytesInLastBlock)
      .member("fileType", fields.fileType)
      .member("fileTypeString", fileTypeStringFor(fields.fileType))
      .member("fileSize", fields.fileSize)
      .member("fileSizeString", fileSizeStringFor(fields.fileSize))
      .member("dentryBlock", fields.dentryBlock)
      .member("dentryOffset", fields.dentryOffset)
      .member("bankName", details.bankName ? nlohmann::json(*details.bankName) : nlohmann::json())
      .member("bankFormat", details.bankFormat)
      .member("presetCount", details.presetCount)
      .member("sampleCount", details.sampleCount)
      .endObject();
}

void writeFolderMembers(JsonWriter &writer, const EMU3Directory &directory) {
  writer.member("name", directory.name()).member("entryId", directory.entryId());
  writer.key("blockList").beginArray();
  for (const std::int64_t block : directory.blockList())
    writer.value(block);
  writer.endArray();
  writer.member("dentryBlock", directory.dentryBlock()).member("dentryOffset", directory.dentryOffset());
}

} // namespace tessary::cli
