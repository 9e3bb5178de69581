#pragma once

class QFont;
class QWidget;

namespace tessary {

/// How much larger than usual the user has the system's texts: 1 up to the usual size, never less.
double textScale();
/// A length or text size that follows the system's text size; given in device-independent pixels, as it is at
/// the usual size.
int scaled(int pixels);
/// Gives the widget texts of that size, which follows the system's.
void setTextSize(QWidget *widget, int pixels);

} // namespace tessary
