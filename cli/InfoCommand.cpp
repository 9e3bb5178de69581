#include "cli/Command.h"
#include "cli/JsonWriter.h"
#include "tessary/Text.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tessary::cli {
namespace {

struct EntryCounts {
  std::uint64_t folders = 0; ///< the root is not counted
  std::uint64_t files = 0;
};

EntryCounts countEntries(const EMU3Filesystem &volume) {
  EntryCounts counts;
  const auto directories = directoriesInPreOrder(volume.rootDirectory());
  counts.folders = directories.size() - 1;
  for (const EMU3DirectoryPtr &directory : directories)
    counts.files += directory->totalFileCount();
  return counts;
}

void writeJson(const EMU3Filesystem &volume, const EntryCounts &counts, std::ostream &out) {
  JsonWriter writer(out);
  writer.beginObject().member("ok", true).key("volume").beginObject();
  writer.member("volumeLabel", volume.volumeLabel())
      .member("imageSize", volume.imageSize())
      .member("totalBlocks", volume.totalBlocks())
      .member("usedBlocks", volume.usedBlocks())
      .member("freeBlocks", volume.freeBlocks())
      .member("totalClusters", volume.totalClusters())
      .member("rootDirBlock", volume.rootDirBlock())
      .member("dataAreaBlock", volume.dataAreaBlock())
      .member("slotSizeBlocks", volume.slotSizeBlocks())
      .member("fatStartBlock", volume.fatStartBlock())
      .member("isReadOnly", volume.isReadOnly())
      .member("folderCount", counts.folders)
      .member("fileCount", counts.files)
      .member("largestFreeBlocks", volume.largestFreeBlocks());
  writer.endObject().endObject().endLine();
}

// The first slot of which the allocation table does not describe every block.
std::uint64_t firstSlotBeyondTable(const EMU3Filesystem &volume) {
  const std::uint64_t described = volume.describedBlocks();
  if (described <= volume.dataAreaBlock()) return 1;
  return (described - volume.dataAreaBlock()) / volume.slotSizeBlocks() + 1;
}

// None when the table has an entry for every block.
std::optional<std::string> shortTableSentence(const EMU3Filesystem &volume) {
  const std::uint64_t described = volume.describedBlocks();
  if (described >= volume.totalBlocks()) return std::nullopt;
  return "The allocation table is too short for the volume: it describes " + std::to_string(described) +
         " of " + std::to_string(volume.totalBlocks()) + " blocks. Blocks from " + std::to_string(described) +
         " on, that is files in slots from " + std::to_string(firstSlotBeyondTable(volume)) +
         " on, cannot be marked as used.";
}

void printText(const EMU3Filesystem &volume, const EntryCounts &counts, std::ostream &out) {
  const auto line = [&](const char *title, const std::string &value) { out << title << value << '\n'; };
  const auto sized = [](std::uint64_t count, const char *unit, std::uint64_t bytes) {
    return std::to_string(count) + unit + " (" + fileSizeStringFor(bytes) + ")";
  };
  line("Volume label:          ", escapedNameForDisplay(volume.volumeLabel()));
  line("Image size:            ", sized(volume.imageSize(), " bytes", volume.imageSize()));
  line("Blocks:                ", std::to_string(volume.totalBlocks()));
  line("Used blocks:           ",
       sized(volume.usedBlocks(), "", volume.usedBlocks() * EMU3Filesystem::kBlockSize));
  line("Free blocks:           ",
       sized(volume.freeBlocks(), "", volume.freeBlocks() * EMU3Filesystem::kBlockSize));
  const std::uint64_t largest = volume.largestFreeBlocks();
  line("Largest new file:      ", sized(largest, " blocks", largest * EMU3Filesystem::kBlockSize));
  line("Table entries scanned: ", std::to_string(volume.totalClusters()));
  line("Table begins at block: ", std::to_string(volume.fatStartBlock()));
  line("Root folder's block:   ", std::to_string(volume.rootDirBlock()));
  line("Data area's block:     ", std::to_string(volume.dataAreaBlock()));
  line("Slot size:             ",
       sized(volume.slotSizeBlocks(), " blocks", volume.slotSizeBlocks() * EMU3Filesystem::kBlockSize));
  line("Read-only:             ",
       volume.isReadOnly() ? std::string("yes, ") + readOnlyReasonText(volume.readOnlyReason()) : "no");
  line("Folders:               ", std::to_string(counts.folders));
  line("Files:                 ", std::to_string(counts.files));
  if (const auto sentence = shortTableSentence(volume)) out << *sentence << '\n';
}

class InfoCommand final : public Command {
public:
  void declare(CommandWords &) override {}

  ExitStatus run(Session &session) override {
    const EntryCounts counts = countEntries(*session.volume);
    if (session.json)
      writeJson(*session.volume, counts, session.out());
    else
      printText(*session.volume, counts, session.out());
    return ExitStatus::done;
  }
};

} // namespace

extern const CommandEntry kInfoCommand{
    "info",
    "",
    "Show the volume's facts",
    "Label, sizes, block counts, the largest file that would fit, geometry, read-only state, how many "
    "folders and files (the root folder is "
    "not\n"
    "counted). Says where the allocation table is too short for the volume.\n",
    {},
    makeCommand<InfoCommand>,
};

} // namespace tessary::cli
