#pragma once

class QWidget;

/**
 * Shows the open-source notice, modal, or a warning if it is missing.
 *
 * @param parent  the main window; the warning belongs to it. Not null.
 *
 * Returns when the user has closed the dialog. GUI thread. Rests on QDialog, QTextBrowser and the resource
 * ":/Resource/LICENSE.txt".
 */
void showLicense(QWidget *parent);
