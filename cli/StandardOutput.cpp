#include "cli/StandardOutput.h"

#include "cli/CliError.h"

namespace tessary::cli {

bool writeToStandardOutput(const Session &session, std::initializer_list<std::span<const std::uint8_t>> parts,
                           EMU3Error *error) {
  if (session.isTrial) return true;
  std::ostream &out = session.streams.out;
  for (const std::span<const std::uint8_t> part : parts)
    out.write(reinterpret_cast<const char *>(part.data()), static_cast<std::streamsize>(part.size()));
  out.flush();
  return out.good() || fail(error, cliError(kCliFailed, "Standard output did not take it"));
}

} // namespace tessary::cli
