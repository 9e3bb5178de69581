#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tessary {

/// True when `text` is well-formed UTF-8 (no overlong forms, no surrogates, at most U+10FFFF).
bool isValidUtf8(std::string_view text);

/// Length in UTF-16 code units. A byte that is no part of a valid sequence counts one.
std::size_t utf16Length(std::string_view text);

/// The longest prefix of at most `units` UTF-16 code units that ends at a whole character: a character
/// outside the basic plane that would be cut in half is dropped.
std::string_view prefixOfUtf16Units(std::string_view text, std::size_t units);

/// The longest prefix of at most `bytes` bytes that ends at a whole character.
std::string_view prefixOfWholeCharacters(std::string_view text, std::size_t bytes);

/// `text` with what does not print written as escapes (`\n`, `\x1b`, `\u202e`, `\U000e0041`), for logs and
/// terminals: control characters, line and paragraph separators, marks of direction and others that nobody
/// sees, and bytes that are not UTF-8. A backslash stays as it is.
std::string escapedForDisplay(std::string_view text);
/// The same for a name, in which a backslash means itself: it is doubled, so that it is unlike an escape.
std::string escapedNameForDisplay(std::string_view name);

/// `text`, which is UTF-8, with what does not print as `escape` writes the code point.
std::string withoutUnprintable(std::string_view text, std::string (*escape)(std::uint32_t codePoint));

/// `text` with each byte that is no part of a valid UTF-8 sequence written as '%' and two capital hexadecimal
/// digits.
std::string withInvalidBytesAsCodes(std::string text);

/// The text of a fixed-width field padded with spaces or zero bytes: without them, up to the first zero
/// byte left. Empty when the field begins with one or holds nothing else. Not checked to be UTF-8.
std::string paddedField(const std::uint8_t *field, std::size_t size);

/// The last component of a path: what follows the last '/', trailing slashes passed over.
std::string lastPathComponent(const std::string &path);

/// A file name without its extension: what precedes the last '.', where that dot is neither the first
/// nor the last character; otherwise the name as it is.
std::string withoutExtension(const std::string &fileName);

} // namespace tessary
