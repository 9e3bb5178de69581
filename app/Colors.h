#pragma once

#include <QColor>
#include <QPalette>

namespace tessary {

/// For text that stands back behind the window's main text but must be read as well: the text colour, a
/// third of the way to the background. The palette's placeholder colour is too faint for that.
QColor secondaryLabelColor(const QPalette &palette);

/// Behind selected rows of a view that has the keyboard, and of one that has not: what is written on the
/// first in the palette's highlighted text colour, and on the second in its text colour, is easily read.
QColor selectionColor(const QPalette &palette);
QColor greySelectionColor(const QPalette &palette);

/// Gives the application's menus and fields a selection that can be read, where the system's cannot. All else
/// of its palette goes on following the system.
void makeSelectionsReadable();

/// For thin lines between the parts of the window. Palettes differ too much in what their own shades of
/// the background are, so it is derived from text and background.
QColor separatorColor(const QPalette &palette);

/// What a wave is drawn in on the palette's base, and the line that shows what of it is heard.
QColor waveColor(const QPalette &palette);
QColor heardColor(const QPalette &palette);

/// The palette's link colour, brought nearer to the text's where it cannot be read on the window's
/// background: many a dark palette keeps the dark blue of a light one.
QColor linkColor(const QPalette &palette);

} // namespace tessary
