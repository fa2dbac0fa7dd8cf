#pragma once

#include "updatetexts.h"

class QProgressBar;
class QPushButton;
class QWidget;

/**
 * The two small windows beside a download: one with a bar while it runs, one whose button starts the installer.
 *
 * Both have a fixed size of 250 x 100 and no close button. They are made without a parent and not shown; the caller
 * owns the window, and the window its widgets. GUI thread. Rests on Qt Widgets and the resource tree.
 */
namespace downloadwindow {

/// A window and what its owner needs of it.
struct Parts
{
    QWidget *window; ///< not shown yet
    QPushButton *button; ///< its only one
    QProgressBar *bar; ///< null in the completion window
};

/// The progress window: a bar at 0 % and a disabled Cancel button.
Parts createProgress(const UpdateTextRow &texts);

/// The completion window: an OK button.
Parts createCompletion(const UpdateTextRow &texts);

} // namespace downloadwindow
