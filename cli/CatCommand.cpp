#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/Command.h"

#include <exception>
#include <ios>

namespace tessary::cli {
namespace {

class CatCommand final : public Command {
public:
  void declare(CommandWords &words) override { file_ = words.required("FILE", "The file"); }

  ExitStatus run(Session &session) override {
    const FileItem item = resolveFile(*session.volume, CommandWords::text(file_));
    const ByteBufferPtr data = contentsOf(item, *session.volume);
    session.out().write(reinterpret_cast<const char *>(data->data()),
                        static_cast<std::streamsize>(data->size()));
    return ExitStatus::done;
  }

private:
  static ByteBufferPtr contentsOf(const FileItem &item, EMU3Filesystem &volume) {
    try {
      EMU3Error error;
      ByteBufferPtr data = volume.contentsOfFile(item.file, &error);
      if (!data) throw CommandFailure{error, item.address};
      return data;
    } catch (const std::exception &problem) { // the contents do not fit into memory
      throw CommandFailure{errorOf(problem, item.address), item.address};
    }
  }

  const CommandWords::Word *file_ = nullptr;
};

} // namespace

extern const CommandEntry kCatCommand{
    "cat",
    "FILE",
    "Write a file's bytes to standard output",
    "Example:\n"
    "  tessary-cli cat disk.hda /Drums/KICK > kick.e4b\n",
    {.hasJson = false},
    makeCommand<CatCommand>,
};

} // namespace tessary::cli
