#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/CapturedLog.h"

#include <locale>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace tessary::test {
namespace {

class Output : public CliTest {
protected:
  Output() {
    ImageBuilder image;
    image.root().addFile("Acid", IffBank().preset("Acid").sample("C1", patternBytes(100)).build());
    use(image);
  }
};

// Takes so many bytes and no more, as a full disk does.
class FullBuffer : public std::streambuf {
public:
  explicit FullBuffer(std::streamsize room) : room_(room) {}

protected:
  std::streamsize xsputn(const char *, std::streamsize length) override {
    const std::streamsize taken = std::min(length, room_);
    room_ -= taken;
    return taken;
  }
  int_type overflow(int_type character) override {
    return room_-- > 0 ? traits_type::not_eof(character) : traits_type::eof();
  }

private:
  std::streamsize room_;
};

TEST_F(Output, AnswerThatCannotBeWrittenIsAFailure) {
  for (const std::vector<std::string> &words : std::vector<std::vector<std::string>>{
           {"info", imagePath()}, {"ls", imagePath(), "--json"}, {"cat", imagePath(), "/Acid"}}) {
    FullBuffer buffer(10);
    std::ostream out(&buffer);
    std::ostringstream err;
    std::istringstream in;
    EXPECT_EQ(runTessaryCli(words, in, out, err), 1) << words.front();
    EXPECT_EQ(err.str(), "tessary-cli: The answer could not be written whole\n");
  }
}

struct Grouping : std::numpunct<char> {
  char do_thousands_sep() const override { return '.'; }
  char do_decimal_point() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
};

TEST_F(Output, NumbersDoNotDependOnTheLocale) {
  ImageBuilder image; // more than a thousand findings
  for (int folder = 0; folder < 10; ++folder) {
    FolderBuilder full = image.root().addFolder("F" + std::to_string(folder), {.blockCount = 7});
    for (int file = 0; file < 112; ++file)
      full.addFile("N" + std::to_string(file), bytesOf("x"), {.slot = 1, .bytesInLastBlock = 600});
  }
  image.root().addFile("Acid", IffBank().preset("Acid").sample("C1", patternBytes(100)).build());
  use(image);
  const std::locale grouping(std::locale::classic(), new Grouping);
  for (const std::vector<std::string> &words :
       std::vector<std::vector<std::string>>{{"info", imagePath()},
                                             {"info", imagePath(), "--json"},
                                             {"stat", imagePath(), "/Acid"},
                                             {"ls", imagePath()},
                                             {"check", imagePath()},
                                             {"check", imagePath(), "--json"}}) {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    out.imbue(grouping);
    const Answer expected = runCli(words);
    EXPECT_EQ(runTessaryCli(words, in, out, err), expected.status);
    EXPECT_EQ(out.str(), expected.out) << words.front();
  }
}

// The bank analysis writes its diagnostic lines for a file of this one name.
TEST_F(Output, DiagnosticLinesGoToTheLogAlone) {
  const CapturedLog log;
  const Answer answer = cli("stat", {"/Acid"});
  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(answer.err, "");
  EXPECT_EQ(answer.out.find("[E4B0]"), std::string::npos);
  EXPECT_FALSE(log.lines().empty());
}

} // namespace
} // namespace tessary::test
