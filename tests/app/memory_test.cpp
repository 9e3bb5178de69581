#include "tests/app/WindowTest.h"
#include "tests/support/SampleVolumes.h"

#include <cstdint>
#include <fstream>
#include <string>

namespace tessary {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool measurable = false; // their own records grow with every access
#else
constexpr bool measurable = true;
#endif

/// A figure of this process, in bytes, by its name in the host's account.
std::uint64_t processMemory(const std::string &name) {
  std::ifstream account("/proc/self/status");
  for (std::string line; std::getline(account, line);)
    if (line.starts_with(name + ":")) return std::stoull(line.substr(name.size() + 1)) * test::kKiB;
  throw std::runtime_error("the host does not tell " + name);
}

/// From now on VmHWM tells the highest VmRSS since this call.
void startNewPeak() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

class MemoryTest : public test::WindowTest {
protected:
  void SetUp() override {
    if (!measurable) GTEST_SKIP() << "not with a sanitizer";
  }

  /// Shows every folder of the volume, one after another, and returns the bytes of the banks in them.
  std::uint64_t browseEverything() {
    std::uint64_t bytes = 0;
    outline()->expandAll();
    const QAbstractItemModel *model = outline()->model();
    for (QModelIndex row = model->index(0, 0); row.isValid(); row = outline()->indexBelow(row)) {
      test::clickRow(outline(), row);
      EXPECT_TRUE(test::waitUntilIdle());
      for (const EMU3FilePtr &file : controller_->currentDirectory()->allFiles())
        if (file->fileType() == kFileTypeBank) bytes += file->fileSize();
    }
    return bytes;
  }
};

TEST_F(MemoryTest, DoesNotGrowWithTheBanksThatAreBrowsed) {
  mount(test::bigVolume());
  browseEverything(); // what the views themselves need is there from now on
  controller_->_unmountImage();
  openImage(folder_.path("disk.hda"));
  const std::uint64_t before = processMemory("VmRSS");
  const std::uint64_t bytes = browseEverything();
  const std::uint64_t after = processMemory("VmRSS");
  const std::uint64_t grown = after > before ? after - before : 0;
  RecordProperty("bank_bytes", std::to_string(bytes));
  RecordProperty("grown_bytes", std::to_string(grown));
  EXPECT_GT(bytes, 256 * test::kMiB);
  EXPECT_LT(grown, 16 * test::kMiB) << "for " << bytes << " bytes of banks";
}

TEST_F(MemoryTest, IsNotFilledByOneFolderOfLargeBanks) {
  const std::string path = writeImage(test::banks112Volume());
  mount(test::demoVolume(), "first.hda"); // what the views need is there from now on
  startNewPeak();
  const std::uint64_t before = processMemory("VmRSS");
  openImage(path);
  const std::uint64_t peak = processMemory("VmHWM");
  EXPECT_EQ(table()->model()->rowCount(), 112);
  RecordProperty("grown_bytes", std::to_string(peak - before));
  EXPECT_LT(peak - before, 32 * test::kMiB); // of 224 MiB
}

} // namespace
} // namespace tessary
