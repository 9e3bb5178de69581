#include "cli/Session.h"

#include "cli/JsonWriter.h"
#include "tessary/Text.h"

namespace tessary::cli {

void printProblem(std::ostream &err, const std::string &prefix, const std::string &item,
                  const EMU3Error &error) {
  const std::string &message = error.message;
  const bool namesItem = item.empty() || message.starts_with(item + ": ") || message.ends_with(": " + item);
  const std::string said = error.messageWithReason();
  err << prefix << escapedForDisplay(namesItem ? said : item + ": " + said) << '\n' << std::flush;
}

void answerFailure(const Streams &streams, bool json, const std::string &problemPrefix,
                   const std::string &item, const EMU3Error &error) {
  if (!json) return printProblem(streams.err, problemPrefix, item, error);
  JsonWriter writer(streams.answers);
  writer.beginObject().member("ok", false).key("error");
  writeError(writer, error);
  writer.endObject().endLine();
}

} // namespace tessary::cli
