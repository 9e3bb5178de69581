#include "tests/cli/CliRun.h"
#include "tests/support/HostFiles.h"
#include "tests/support/OtherUser.h"

#include <string>
#include <sys/stat.h>
#include <vector>

namespace tessary::test {
namespace {

class Opening : public CliTest {
protected:
  // Every command gives the engine's words, in both forms of its answer.
  void expectRefusal(const std::string &image, int code, const std::string &message,
                     const std::string &line) const {
    EXPECT_EQ(runCli({"info", image}), (Answer{1, "", "tessary-cli: " + line + "\n"}));
    EXPECT_EQ(jsonOf(runCli({"ls", image, "--json"})), failure("com.tessary.error", code, message));
    EXPECT_EQ(jsonOf(runCli({"batch", image, "--json"}, "info\ninfo\n")),
              failure("com.tessary.error", code, message));
  }
};

TEST_F(Opening, MissingFile) {
  const std::string path = hostPath("nowhere.hda");
  const std::string message = "Cannot open file: " + path + ": No such file or directory";
  expectRefusal(path, 2, message, message);
}

TEST_F(Opening, Folder) {
  const std::string path = newHostFolder("folder.hda");
  expectRefusal(path, 2, "mmap failed: Is a directory", path + ": mmap failed: Is a directory");
}

TEST_F(Opening, EmptyFile) {
  writeText(imagePath(), "");
  const std::string message = "mmap failed: The file is empty";
  expectRefusal(imagePath(), 2, message, imagePath() + ": " + message);
}

TEST_F(Opening, FileOf511Bytes) {
  writeText(imagePath(), "EMU3" + std::string(507, '\0'));
  const std::string message = "File too small to be an E-MU disk image";
  expectRefusal(imagePath(), 1, message, imagePath() + ": " + message);
}

TEST_F(Opening, WrongSignature) {
  writeText(imagePath(), "EMU4" + std::string(1020, '\0'));
  const std::string message = "Not an E-MU 3/4 disk image (missing \"EMU3\" signature)";
  expectRefusal(imagePath(), 1, message, imagePath() + ": " + message);
}

TEST_F(Opening, FifoIsNeverWaitedFor) {
  const std::string path = hostPath("fifo.hda");
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  expectRefusal(path, 2, "mmap failed: No such device", path + ": mmap failed: No such device");
}

TEST_F(Opening, NoPermission) {
  use(ImageBuilder());
  ::chmod(hostPath("").c_str(), 0755);
  ::chmod(imagePath().c_str(), 0);
  const OtherUser user;
  const std::string message = "Cannot open file: " + imagePath() + ": Permission denied";
  expectRefusal(imagePath(), 2, message, message);
}

TEST_F(Opening, AnImageNamedLikeACommandOpens) {
  use(ImageBuilder());
  const CurrentFolder current(hostPath(""));
  ImageBuilder().writeTo("ls");
  EXPECT_EQ(runCli({"info", "ls"}).status, 0);
}

} // namespace
} // namespace tessary::test
