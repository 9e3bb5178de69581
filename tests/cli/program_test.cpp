// The program itself: what signals, pipes and terminals do to it.

#include "tests/cli/CliRun.h"
#include "tests/cli/Subprocess.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tessary::test {
namespace {

using Words = std::vector<std::string>;

class Program : public CliTest {
protected:
  Program() {
    ImageBuilder image({.sizeBytes = 32 * kMiB, .slotSizeBlocks = 4096});
    image.root().addFile("KICK", bytesOf("kick"));
    image.root().addFile("LONG", {}, {.sizeBytes = 2 * kMiB});
    image.root().addFile("Acid", IffBank().preset("Acid").build());
    image.root().addFolder("Drums");
    use(image);
  }

  struct Result {
    Ending ending;
    std::string out;
    std::string err;
  };
  static Result run(const Words &words, const SubprocessOptions &options = {},
                    const std::string &input = "") {
    Subprocess program(words, options);
    if (!input.empty()) program.write(input);
    const Ending ending = program.finish();
    return {ending, program.out(), program.err()};
  }
};

TEST_F(Program, EndsWithTheStatusOfTheTool) {
  EXPECT_EQ(run({"info", imagePath()}).ending, (Ending{0, 0}));
  EXPECT_EQ(run({"stat", imagePath(), "/NONE"}).ending, (Ending{1, 0}));
  EXPECT_EQ(run({"stat", imagePath()}).ending, (Ending{2, 0}));
  EXPECT_EQ(run({}).ending, (Ending{2, 0}));
}

TEST_F(Program, WritesToItsStreamsWhatTheToolWrites) {
  const Result good = run({"ls", imagePath()});
  EXPECT_EQ(good.out, cli("ls").out);
  EXPECT_EQ(good.err, "");
  const Result bad = run({"stat", imagePath(), "/NONE"});
  EXPECT_EQ(bad.out, "");
  EXPECT_EQ(bad.err, "tessary-cli: No such file: /NONE\n");
}

TEST_F(Program, LinesOfBothStreamsComeInTheOrderOfTheItems) {
  const std::string good = hostPath("GOOD"), none = hostPath("NONE");
  writeText(good, "good");
  const Result result = run({"import", imagePath(), none, good, none, "-t", "/"}, {.errGoesToOut = true});
  const std::string failed = "tessary-cli: " + none + ": No such file or directory\n";
  EXPECT_EQ(result.out, failed + "Imported " + good + " into /\n" + failed);
}

TEST_F(Program, BatchReadsStandardInput) {
  const Result result = run({"batch", imagePath()}, {}, "cat /KICK\ncat /KICK");
  EXPECT_EQ(result.ending, (Ending{0, 0}));
  EXPECT_EQ(result.out, "kickkick");
}

TEST_F(Program, BatchAnswersEachLineBeforeItWaitsForTheNext) {
  Subprocess program({"batch", imagePath(), "--json"});
  program.write("rename /KICK ONE\n");
  EXPECT_EQ(program.readLine(),
            R"({"ok":true,"results":[{"item":"/KICK","ok":true,"path":"/ONE","place":"@258:0"}]})");
  program.write("rm /ONE\n");
  EXPECT_EQ(program.readLine(), R"({"ok":true,"results":[{"item":"/ONE","ok":true}]})");
  EXPECT_EQ(program.finish(), (Ending{0, 0}));
}

TEST_F(Program, DiagnosticLinesStayOffItsStreams) {
  const Result result = run({"stat", imagePath(), "/Acid"});
  EXPECT_EQ(result.ending, (Ending{0, 0}));
  EXPECT_EQ(result.err, "");
}

TEST_F(Program, BatchWhoseLinesCannotBeReadFails) {
  const Result result = run({"batch", imagePath()}, {.inFile = hostPath("")});
  EXPECT_EQ(result.ending, (Ending{1, 0}));
  EXPECT_EQ(result.err, "tessary-cli: The lines could not be read to the end\n");
}

TEST_F(Program, ClosedPipeEndsItQuietly) {
  for (const bool ignored : {false, true}) {
    Subprocess program({"cat", imagePath(), "/LONG"}, {.ignoresSigpipe = ignored});
    program.closeOutput();
    EXPECT_EQ(program.finish(), (Ending{-1, SIGPIPE}));
    EXPECT_EQ(program.err(), "");
  }
}

TEST_F(Program, ClosedPipeEndsABatchBetweenItsLines) {
  Subprocess program({"batch", imagePath()});
  program.write("rename /KICK ONE\n");
  program.readLine();
  program.closeOutput();
  program.write("rename /ONE TWO\nrename /TWO THREE\n");
  EXPECT_EQ(program.finish(), (Ending{-1, SIGPIPE}));
  EXPECT_EQ(volumeNames().front(), "TWO");
}

TEST_F(Program, FullDeviceIsAFailure) {
  if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "the host has no such device";
  const Result result = run({"cat", imagePath(), "/LONG"}, {.outFile = "/dev/full"});
  EXPECT_EQ(result.ending, (Ending{1, 0}));
  EXPECT_EQ(result.err, "tessary-cli: The answer could not be written whole\n");
}

// Otherwise the image would be given the number of the closed descriptor, and the answer be written into it.
TEST_F(Program, ClosedStandardDescriptorsDoNotBecomeTheImage) {
  const Bytes before = readBytes(imagePath());
  EXPECT_EQ(run({"ls", imagePath()}, {.closed = {STDOUT_FILENO}}).ending, (Ending{1, 0}));
  EXPECT_EQ(run({"ls", imagePath()}, {.closed = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}}).ending,
            (Ending{1, 0}));
  EXPECT_EQ(run({"rm", imagePath(), "/NONE"}, {.closed = {STDERR_FILENO}}).ending, (Ending{1, 0}));
  EXPECT_EQ(run({"batch", imagePath()}, {.closed = {STDIN_FILENO}}).ending, (Ending{0, 0}));
  EXPECT_TRUE(readBytes(imagePath()) == before);
}

TEST_F(Program, InterruptionEndsABatchThatWaitsForALine) {
  Subprocess program({"batch", imagePath()});
  program.write("cat /KICK\n");
  EXPECT_EQ(program.read(4), "kick"); // is there only once the line is done
  program.interrupt();
  EXPECT_EQ(program.finish(), (Ending{130, 0}));
  EXPECT_EQ(program.err(), "tessary-cli: Interrupted\n");
}

TEST_F(Program, SignalsThatEndItHaveStatusesOfTheirOwn) {
  for (const auto &[number, status] :
       {std::pair(SIGINT, 130), std::pair(SIGTERM, 143), std::pair(SIGHUP, 129)}) {
    Subprocess program({"batch", imagePath()});
    program.write("cat /KICK\n");
    EXPECT_EQ(program.read(4), "kick");
    program.signal(number);
    EXPECT_EQ(program.finish(), (Ending{status, 0})) << number;
    EXPECT_EQ(program.err(), "tessary-cli: Interrupted\n");
  }
}

TEST_F(Program, IgnoredInterruptionStaysIgnored) {
  Subprocess program({"batch", imagePath()}, {.ignoresSigint = true});
  program.write("cat /KICK\nrename /KICK ONE\n");
  program.readLine();
  program.interrupt();
  program.write("cat /ONE\n");
  EXPECT_EQ(program.finish(), (Ending{0, 0}));
  EXPECT_EQ(program.out(), "kick");
}

TEST_F(Program, InterruptionLetsTheItemInProgressFinish) {
  ImageBuilder image({.sizeBytes = 64 * kMiB, .slotSizeBlocks = 512});
  image.root().addFolder("Drums", {.blockCount = 7});
  use(image);
  const std::string contents(200'000, 'x');
  // The answers are so long that a pipe does not hold all of them: the program cannot be done before the
  // interruption, since nothing has been read by then but the first line.
  std::string folder = "long";
  for (int i = 0; i < 8; ++i)
    folder += "/" + std::string(200, 'n');
  std::filesystem::create_directories(hostPath(folder));
  const std::string source = hostPath(folder + "/x");
  writeText(source, contents);
  Words words{"import", imagePath(), "-t", "/Drums"};
  words.insert(words.end(), 112, source);
  Subprocess program(words);
  EXPECT_EQ(program.readLine(), "Imported " + source + " into /Drums");
  program.interrupt();
  EXPECT_EQ(program.finish(), (Ending{130, 0}));
  const auto told =
      static_cast<std::size_t>(std::count(program.out().begin(), program.out().end(), '\n')) + 1;
  EXPECT_LT(told, 112U);
  EXPECT_EQ(volumeNames("/Drums").size(), told);
  const EMU3FilesystemPtr volume = mounted();
  for (const EMU3FilePtr &file : volume->rootDirectory()->subdirectories().front()->allFiles()) {
    const ByteBufferPtr data = volume->dataForFile(file);
    EXPECT_EQ(std::string(data->begin(), data->end()), contents);
  }
}

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// A figure of the process in KiB, by its name in the host's account.
std::size_t memoryOf(pid_t process, const std::string &name) {
  const std::string status = readText("/proc/" + std::to_string(process) + "/status");
  return std::stoul(status.substr(status.find(name + ":") + name.size() + 1));
}

// The pages of the mapped image are not among it.
std::size_t ownMemoryOf(pid_t process) {
  return memoryOf(process, "RssAnon");
}

// As many folders and files as 64 GiB may reasonably hold, one in ten of the folders lost. The files are
// spread over so much of the table that its marks alone do not fit into the bound.
TEST_F(Program, CheckAndRecoveryOfALargeImageNeedLittleMemory) {
  constexpr int folders = 1000;
  constexpr int filesOfEach = 20;
  ImageBuilder image({.sizeBytes = 64 * kGiB,
                      .fatStartBlock = 32768, // behind the folders, so that their numbers stay small
                      .rootDirBlock = 2,
                      .dataAreaBlock = 32768 + 524288,
                      .slotSizeBlocks = 2048});
  std::vector<FolderBuilder> above;
  for (int i = 0; i < folders / 100; ++i)
    above.push_back(image.root().addFolder("A" + std::to_string(i), {.blockCount = 7}));
  for (int i = 0; i < folders; ++i) {
    FolderBuilder folder =
        above[static_cast<std::size_t>(i) / 100].addFolder("F" + std::to_string(i), {.blockCount = 2});
    for (int file = 0; file < filesOfEach; ++file)
      folder.addFile("B" + std::to_string(file), {}, {.sizeBytes = 512});
    if (i % 10 == 0) image.pokeEntry(folder.place(), RawEntry{});
  }
  use(image);
  Subprocess program({"batch", imagePath(), "--json"});
  program.write("check\nrecover\n");
  const nlohmann::json findings = parsedJson(program.readLine()).at("findings");
  EXPECT_EQ(findings.size(), 2U * folders / 10); // each lost folder had two blocks
  EXPECT_EQ(parsedJson(program.readLine()).at("folders").size(), 2U * folders / 10);
  EXPECT_LT(memoryOf(program.pid(), "VmHWM"), 64U * 1024);
  EXPECT_EQ(program.finish(), (Ending{1, 0})); // there are findings
}

TEST_F(Program, ContentsAreNotKeptFromLineToLine) {
  constexpr int files = 20;
  ImageBuilder image({.sizeBytes = 128 * kMiB, .slotSizeBlocks = 4096});
  image.root().addFolder("Copies", {.blockCount = 2});
  FolderBuilder folder = image.root().addFolder("Full", {.blockCount = 2});
  for (int i = 0; i < files; ++i)
    folder.addFile("F" + std::to_string(i), {}, {.sizeBytes = 2 * kMiB});
  use(image);
  const std::string out = newHostFolder("out");
  Subprocess program({"batch", imagePath()});
  for (int i = 0; i < files; ++i)
    program.write("cat /Full/F" + std::to_string(i) + "\n");
  program.read(files * 2 * kMiB);
  program.write("export /Full/* -d " + out + "\ncp /Full/* /Copies\n");
  for (int i = 0; i < 2 * files; ++i)
    program.readLine();
  EXPECT_LT(ownMemoryOf(program.pid()), 16U * 1024);
  EXPECT_EQ(program.finish(), (Ending{0, 0}));
}

TEST_F(Program, ContentsThatDoNotFitIntoMemoryFailTheirLineAlone) {
  ImageBuilder image({.sizeBytes = 512 * kMiB, .slotSizeBlocks = 4096});
  image.root().addFile("KICK", bytesOf("kick"));
  image.root().addFile("LONG", {}, {.sizeBytes = 30 * kMiB});
  use(image);
  const SubprocessOptions smallMemory{.addressSpace = 512 * kMiB + 24 * kMiB};
  const Result result = run({"batch", imagePath()}, smallMemory, "cat /LONG\ncat /KICK\n");
  EXPECT_EQ(result.ending, (Ending{1, 0}));
  EXPECT_EQ(result.out, "kick");
  EXPECT_EQ(result.err, "tessary-cli: line 1: /LONG: Cannot allocate memory\n");
}
#endif

TEST_F(Program, OutputDoesNotDependOnATerminal) {
  for (const Words &words : std::vector<Words>{{"ls", imagePath(), "-R"},
                                               {"info", imagePath()},
                                               {"ls", imagePath(), "--json"},
                                               {"stat", imagePath(), "/NONE"},
                                               {"cat", imagePath()}}) {
    const Result piped = run(words);
    const Result shown = run(words, {.errIsTerminal = true, .outIsTerminal = true});
    EXPECT_EQ(shown.ending, piped.ending);
    EXPECT_EQ(shown.out, piped.out);
    EXPECT_EQ(shown.err, piped.err);
  }
}

TEST_F(Program, ProgressIsShownOnATerminalAlone) {
  const Words words{"cp", imagePath(), "/KICK", "/LONG", "/Drums"};
  const Result piped = run(words);
  const Result shown = run(words, {.errIsTerminal = true});
  EXPECT_EQ(piped.err, "");
  EXPECT_EQ(shown.err,
            "\r\x1b[K1 of 2, 0 B of 2.0 MB, 0%: /KICK\r\x1b[K2 of 2, 0 B of 2.0 MB, 0%: /LONG\r\x1b[K");
  EXPECT_EQ(shown.out, piped.out);
  EXPECT_EQ(shown.ending, piped.ending);
}

} // namespace
} // namespace tessary::test
