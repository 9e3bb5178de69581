#pragma once

#include <QString>
#include <string_view>

namespace tessary {

/// A name or message (UTF-8, from an image or the host) as the window writes it: on one line, with
/// characters that would break the line or reorder it shown as escapes (`\n`, `\u202e`), and bytes that
/// are no UTF-8 too. Show it as plain text.
QString displayText(std::string_view text);

/// A text for a window's title: "[*]", where the toolkit would put its mark of a changed document, stays.
QString titleText(const QString &text);

} // namespace tessary
