#include "bench/Processes.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tessary::bench {
namespace {

double secondsOf(const timeval &time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

std::string joined(const std::vector<std::string> &words) {
  std::string text;
  for (std::size_t i = 0; i < words.size() && text.size() < 200; ++i)
    text += (i == 0 ? "" : " ") + words[i];
  return text;
}

[[noreturn]] void become(const std::vector<std::string> &words, const Surroundings &surroundings) {
  const int input = ::open(surroundings.input.c_str(), O_RDONLY);
  const int output = ::open("/dev/null", O_WRONLY);
  ::dup2(input, STDIN_FILENO);
  ::dup2(output, STDOUT_FILENO);
  if (!surroundings.readyFile.empty()) {
    ::dup2(output, STDERR_FILENO); // throws away what the toolkit complains of
    ::setenv("TESSARY_READY_FILE", surroundings.readyFile.c_str(), 1);
  }
  std::vector<char *> arguments;
  for (const std::string &word : words)
    arguments.push_back(const_cast<char *>(word.c_str()));
  arguments.push_back(nullptr);
  ::execvp(arguments.front(), arguments.data());
  ::_exit(127);
}

void waitForFile(const std::string &path) {
  constexpr auto longest = std::chrono::seconds(60);
  const auto begin = std::chrono::steady_clock::now();
  while (!std::filesystem::exists(path)) {
    if (std::chrono::steady_clock::now() - begin > longest) throw std::runtime_error("never came: " + path);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

} // namespace

Usage run(const std::vector<std::string> &words, const Surroundings &surroundings) {
  const bool isToBeEnded = !surroundings.readyFile.empty();
  if (isToBeEnded) std::filesystem::remove(surroundings.readyFile);
  const pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("cannot start a process");
  if (child == 0) become(words, surroundings);
  if (isToBeEnded) {
    waitForFile(surroundings.readyFile);
    ::kill(child, SIGKILL);
  }
  int status = 0;
  rusage used{};
  if (::wait4(child, &status, 0, &used) != child) throw std::runtime_error("lost: " + joined(words));
  if (!isToBeEnded && (!WIFEXITED(status) || WEXITSTATUS(status) != 0))
    throw std::runtime_error("failed: " + joined(words));
  return {secondsOf(used.ru_utime) + secondsOf(used.ru_stime), static_cast<std::uint64_t>(used.ru_maxrss)};
}

void doElsewhere(const std::function<void()> &work) {
  const pid_t child = ::fork();
  if (child == 0) {
    try {
      work();
      ::_exit(0);
    } catch (const std::exception &problem) {
      std::fprintf(stderr, "%s\n", problem.what());
      ::_exit(1);
    }
  }
  int status = 0;
  if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0)
    throw std::runtime_error("a process failed");
}

bool isInstalled(const std::string &program) {
  const char *const folders = std::getenv("PATH");
  std::istringstream list(folders ? folders : "");
  for (std::string folder; std::getline(list, folder, ':');) {
    if (::access((folder + "/" + program).c_str(), X_OK) == 0) return true;
  }
  return false;
}

double cpuSecondsSoFar() {
  timespec time{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

} // namespace tessary::bench
