#pragma once

#include <QLocale>

/**
 * Asks the user, in a modal box, to select the series' ASIO driver in ASIO-compatible software.
 *
 * Esc and the window's close button act as OK.
 *
 * @param language  Japanese and Chinese have texts of their own, any other language gets English
 * @return whether the user ticked "Do not show again"
 *
 * Returns when the user has closed the box; its event loop serves the rest of the program meanwhile. GUI thread.
 * Rests on QMessageBox.
 */
bool showAsioReminder(QLocale::Language language);
