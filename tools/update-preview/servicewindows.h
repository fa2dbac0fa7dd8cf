#pragma once

#include <QList>

class InformationBox;
class QWidget;

/**
 * The windows of the update service, found among all that the program shows. GUI thread.
 */
namespace servicewindows {

/// All windows on the screen.
QList<QWidget *> shown();

/// The program or firmware offer on the screen, or null.
InformationBox *offer();

/// The news on the screen, or null.
InformationBox *news();

/// Whether it is the progress window of a download.
bool isProgress(const QWidget &window);

/// Whether it is the window that starts the installer.
bool isCompletion(const QWidget &window);

} // namespace servicewindows
