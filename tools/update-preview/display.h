#pragma once

#include <QString>

/**
 * The display that windows are drawn on, or drawn for. Call one of these before the application object is made.
 */
namespace display {

/// Whether there is a display to show windows on.
bool isThere();

/**
 * Lets windows be drawn in memory, as on a large screen, so that none flickers over the user's and all look the same
 * everywhere. Where the system cannot do that they are drawn on the display.
 *
 * @param folder  for a file that must last as long as the application object
 */
void drawInMemory(const QString &folder);

} // namespace display
