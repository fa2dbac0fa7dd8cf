#pragma once

#include <QString>

/**
 * Shows the About box, modal.
 *
 * @param version  the version text to show, short or with the build number
 *
 * Returns when the user has closed the box. GUI thread. Rests on QDialog.
 */
void showAboutBox(const QString &version);
