#pragma once

namespace tessary {

/// The libraries that reach the sound system tell on standard error of each device and server that is not
/// there: no news for anybody. After this they keep it to themselves, and start no sound server. To be called
/// before they are used.
void keepSoundSystemQuiet();

/// Whether the sound system is set up at all. Where it has no default device PortAudio must not be asked for
/// its devices: it ends the program.
[[nodiscard]] bool isSoundSystemSetUp();

} // namespace tessary
