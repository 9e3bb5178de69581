#include "cli/Addresses.h"
#include "cli/Command.h"

#include <ios>

namespace tessary::cli {
namespace {

class CatCommand final : public Command {
public:
  void declare(CommandWords &words) override { file_ = words.required("FILE", "The file"); }

  ExitStatus run(Session &session) override {
    const EMU3FilePtr file = resolveFile(*session.volume, CommandWords::text(file_)).file;
    const ByteBufferPtr data = session.volume->dataForFile(file);
    file->setCachedData(nullptr);
    session.out().write(reinterpret_cast<const char *>(data->data()),
                        static_cast<std::streamsize>(data->size()));
    return ExitStatus::done;
  }

private:
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
