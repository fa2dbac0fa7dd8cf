#pragma once

#include <QPoint>
#include <QString>

#include <functional>

class QWidget;

/**
 * Mouse and keyboard as a user has them: events made by the window system (XTEST through xdotool, or SendInput on
 * Windows), not by Qt.
 *
 * Each function returns when the events are out and this process has had the time to receive them. GUI thread.
 */
namespace realinput {

/// Moves the pointer to the middle of a shown widget and clicks its left button.
void click(const QWidget *widget);

/// The same for a point of the widget.
void click(const QWidget *widget, QPoint position);

/// The same for a point of the screen, in the screen's own pixels.
void click(QPoint screenPixel);

/// Presses and releases one key, by its X name ("Tab", "Down", "Return", "Escape", "ctrl+Tab", "alt+F4").
void key(const QString &name);

/**
 * Presses Tab until the focus is where it is wanted. Each press is waited for: one too many would leave the place
 * again.
 *
 * @param isThere  whether it is there; links within a text are places that Tab stops at, too
 * @return false when a press leads to nothing, or the way does not lead there
 */
bool tabUntil(const std::function<bool()> &isThere);

} // namespace realinput
