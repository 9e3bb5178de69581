#pragma once

#include <functional>
#include <string>

namespace tessary {

/// Writes one diagnostic line to the system log and, unless switched off, to standard error. Control
/// characters of the line are shown escaped. Any thread.
void systemLog(const std::string &line);

/// Whether diagnostic lines go to standard error too. On at first.
void setSystemLogEcho(bool echo);

/// Sends the lines, as given, to `sink` instead; an empty function restores the system log. For tests.
void setSystemLogSink(std::function<void(const std::string &)> sink);

} // namespace tessary
