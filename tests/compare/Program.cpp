#include "tests/compare/Program.h"

#include "tests/support/HostFiles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tessary::compare {
namespace {

namespace fs = std::filesystem;

constexpr unsigned kSecondsToEnd = 30; // a program that takes longer is ended by SIGALRM
constexpr const char *kExact = "--exact";
constexpr const char *kJson = "--json";

bool changesVolume(const Command &command) {
  constexpr std::array<std::string_view, 8> changes{"import", "cp",    "mv",    "rm",
                                                    "rename", "mkdir", "rmdir", "recover"};
  return std::find(changes.begin(), changes.end(), command.front()) != changes.end();
}

// A file in place of a standard stream, open as long as this lives.
class Stream final {
public:
  Stream(std::string path, int access)
      : path_(std::move(path)), descriptor_(::open(path_.c_str(), access | O_CLOEXEC, 0600)) {
    if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), path_);
  }
  ~Stream() { ::close(descriptor_); }
  Stream(const Stream &) = delete;
  Stream &operator=(const Stream &) = delete;

  int descriptor() const { return descriptor_; }

  std::string text() const {
    const Bytes bytes = test::readBytes(path_, 0, fs::file_size(path_));
    return {bytes.begin(), bytes.end()};
  }

private:
  std::string path_;
  int descriptor_;
};

} // namespace

Program::Program(std::string path, const std::string &folder) : path_(std::move(path)) {
  const Run help = start({"batch", "--help"}, "", folder);
  if (help.status != 0) throw std::system_error(ENOEXEC, std::generic_category(), path_);
  exactIsOfTheMount_ = help.out.find(kExact) != std::string::npos;
}

Run Program::run(const Command &command, MountRules rules, const std::string &folder) const {
  std::vector<std::string> words = command;
  words.insert(words.begin() + 1, kImageName);
  if (rules == MountRules::bare && (exactIsOfTheMount_ || changesVolume(command))) words.emplace_back(kExact);
  if (command.front() != "cat") words.emplace_back(kJson);
  return start(words, "", folder);
}

Run Program::runBatch(const std::vector<Command> &commands, MountRules rules,
                      const std::string &folder) const {
  std::string input;
  for (const Command &command : commands) {
    input += lineOf(command);
    if (rules == MountRules::bare && !exactIsOfTheMount_ && changesVolume(command))
      input.append(" ").append(kExact);
    input += '\n';
  }
  std::vector<std::string> words{"batch", kImageName, kJson};
  if (rules == MountRules::bare && exactIsOfTheMount_) words.emplace_back(kExact);
  return start(words, input, folder);
}

// With files rather than pipes: programs run side by side would inherit each other's ends of a pipe.
Run Program::start(const std::vector<std::string> &words, const std::string &input,
                   const std::string &folder) const {
  test::writeText(folder + ".in", input);
  const Stream in(folder + ".in", O_RDONLY);
  const Stream out(folder + ".out", O_WRONLY | O_CREAT | O_TRUNC);
  const Stream err(folder + ".err", O_WRONLY | O_CREAT | O_TRUNC);
  std::vector<char *> arguments{const_cast<char *>("tessary-cli")};
  for (const std::string &word : words)
    arguments.push_back(const_cast<char *>(word.c_str()));
  arguments.push_back(nullptr);

  const pid_t child = ::fork();
  if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (child == 0) {
    ::dup2(in.descriptor(), STDIN_FILENO);
    ::dup2(out.descriptor(), STDOUT_FILENO);
    ::dup2(err.descriptor(), STDERR_FILENO);
    ::alarm(kSecondsToEnd);
    if (::chdir(folder.c_str()) == 0) ::execv(path_.c_str(), arguments.data());
    ::_exit(127);
  }
  int state = 0;
  while (::waitpid(child, &state, 0) < 0 && errno == EINTR) {
  }
  Run run;
  if (WIFSIGNALED(state))
    run.signal = WTERMSIG(state);
  else
    run.status = WEXITSTATUS(state);
  run.out = out.text();
  run.err = err.text();
  return run;
}

} // namespace tessary::compare
