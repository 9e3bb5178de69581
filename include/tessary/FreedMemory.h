#pragma once

namespace tessary {

/// Keeps memory that is given back, up to some 64 MiB, for what is asked for next, for the whole process. For
/// programs that read file after file: the host clears each page that it gives anew, which takes longer than
/// reading the file into it. Where the C library has no such choice, nothing changes.
void keepFreedMemory();

} // namespace tessary
