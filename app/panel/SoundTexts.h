#pragma once

#include <QString>
#include <cstdint>

namespace tessary {

/// How long so many frames sound: "0.25 s", from a minute on "1:05.2".
QString lengthText(std::uint64_t frames, std::uint32_t rate);
/// "44,100 Hz", grouped alike everywhere.
QString rateText(std::uint32_t rate);
/// "132,300 bytes" as the table of files has sizes: in B, KB, MB.
QString sizeText(std::uint64_t bytes);

} // namespace tessary
