#pragma once

#include <csignal>
#include <cstddef>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tessary::test {

/// How a process ended.
struct Ending {
  int status = -1; ///< of an exit
  int signal = 0;  ///< that ended it; 0 for an exit
  bool operator==(const Ending &) const = default;
};

/// What a program is run with.
struct SubprocessOptions {
  bool errIsTerminal = false;
  bool outIsTerminal = false;
  bool errGoesToOut = false; ///< both write to the one pipe, in the order in which they are written
  bool ignoresSigint = false;
  bool ignoresSigpipe = false;
  std::size_t addressSpace = 0; ///< most that it may map, in bytes; 0 for no limit
  std::vector<int> closed{};    ///< standard descriptors that are not open
  std::string inFile{};         ///< host files in place of the pipes
  std::string outFile{};
};

/// The program itself, run with pipes to its standard streams. Ended, if it still runs, at the end of the
/// scope. SIGINT and SIGPIPE have their default meaning in it whatever they have here.
class Subprocess final {
public:
  explicit Subprocess(const std::vector<std::string> &words, const SubprocessOptions &options = {});
  ~Subprocess();
  Subprocess(const Subprocess &) = delete;
  Subprocess &operator=(const Subprocess &) = delete;

  void write(const std::string &input) const;
  void closeInput();
  /// Closes this end of the pipe from its standard output.
  void closeOutput();
  /// Waits for a whole line of its standard output.
  std::string readLine() const;
  /// Waits for so many bytes of its standard output.
  std::string read(std::size_t length) const;
  void interrupt() const { signal(SIGINT); }
  void signal(int number) const;
  pid_t pid() const { return pid_; }
  /// Closes its input, reads what it still writes to the end, and waits for it.
  Ending finish();
  /// What was read by `finish`.
  const std::string &out() const { return outText_; }
  const std::string &err() const { return errText_; }

private:
  pid_t pid_ = -1;
  int in_ = -1;
  int out_ = -1;
  int err_ = -1;
  std::string outText_;
  std::string errText_;
};

} // namespace tessary::test
