#include "cli/ItemReport.h"
#include "tests/cli/CliRun.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>

namespace tessary::test {
namespace {

using cli::ExitStatus;
using cli::ItemReport;

/// What the report of a command of two items writes, of which the first throws.
class ItemThatThrows : public testing::Test {
protected:
  template <typename Problem> Answer report(bool json, const Problem &problem) const {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    const CliSurroundings surroundings;
    const cli::Streams streams{in, out, err, surroundings, out};
    cli::Session session{streams, nullptr, json, "tessary-cli: "};
    ItemReport items(session);
    EXPECT_TRUE(items.run("/A", "Did /A", [&](EMU3Error *) -> bool { throw problem; }));
    EXPECT_TRUE(items.run("/B", "Did /B", [](EMU3Error *) { return true; }));
    const auto status = static_cast<int>(items.finish());
    return {status, out.str(), err.str()};
  }
};

TEST_F(ItemThatThrows, IsAFailedItemAndTheNextIsDone) {
  EXPECT_EQ(report(false, std::bad_alloc()),
            (Answer{1, "Did /B\n", "tessary-cli: /A: Cannot allocate memory\n"}));
  EXPECT_EQ(report(false, std::length_error("too long")),
            (Answer{1, "Did /B\n", "tessary-cli: /A: too long\n"}));
}

TEST_F(ItemThatThrows, IsAMemberInJson) {
  const Answer answer = report(true, std::bad_alloc());
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(jsonOf(answer), parsedJson(R"({"ok":false,"results":[{"item":"/A","ok":false,"error":
      {"domain":"posix","code":12,"message":"/A: Cannot allocate memory"}},{"item":"/B","ok":true}]})"));
}

/// `interrupted`, which every command asks often, stands in for whatever a command calls: it throws when it
/// is asked for the n-th time.
class CommandThatThrows : public CliTest {
protected:
  CommandThatThrows() {
    ImageBuilder image;
    image.root().addFile("KICK", bytesOf("kick"));
    use(image);
  }
  Answer run(const std::vector<std::string> &words, int count, const std::string &lines = "") const {
    int asked = 0;
    const auto interrupted = [&]() -> bool {
      if (++asked == count) throw std::bad_alloc();
      return false;
    };
    return runCli(words, lines, {.errIsTerminal = false, .interrupted = interrupted});
  }
};

TEST_F(CommandThatThrows, AnswersAsOneThatFailed) {
  EXPECT_EQ(run({"ls", imagePath()}, 2), (Answer{1, "", "tessary-cli: ls: Cannot allocate memory\n"}));
  EXPECT_EQ(jsonOf(run({"ls", imagePath(), "--json"}, 2)),
            failure("posix", ENOMEM, "ls: Cannot allocate memory"));
}

TEST_F(CommandThatThrows, IsALineOfABatchThatGoesOn) {
  const std::string lines = "ls\nrename /KICK ONE\n";
  const Answer text = run({"batch", imagePath()}, 4, lines);
  EXPECT_EQ(text, (Answer{1, "Renamed /KICK to ONE\n", "tessary-cli: line 1: ls: Cannot allocate memory\n"}));
  const Answer json = run({"batch", imagePath(), "--json"}, 4, "ls\nrename /ONE TWO\n");
  EXPECT_EQ(json.status, 1);
  EXPECT_EQ(json.err, "");
  std::vector<nlohmann::json> answers = jsonLines(json.out);
  std::transform(answers.begin(), answers.end(), answers.begin(), itemsOf);
  EXPECT_EQ(answers, (std::vector<nlohmann::json>{failure("posix", ENOMEM, "ls: Cannot allocate memory"),
                                                  allDone({"/ONE"})}));
}

} // namespace
} // namespace tessary::test
