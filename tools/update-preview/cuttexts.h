#pragma once

#include <QStringList>

class QWidget;

/**
 * The texts of a window that do not fit their place, as far as this system's fonts tell. Empty if all is well.
 *
 * Looks at labels, buttons, check boxes and text fields. GUI thread; the window has been shown.
 */
QStringList cutTexts(const QWidget &window);
