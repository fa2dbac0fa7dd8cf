#pragma once

#include "exitcodes.h"

#include <QString>

/**
 * Renders every window of the service in every language to PNG files, and an index of them in HTML. An interrupt
 * (interrupts.h) ends it between two languages.
 *
 * @param folder    where to; made if it is missing
 * @param feedFile  whose news and versions are to be seen; empty: an example
 *
 * GUI thread, in a private folder (privatefolder.h) that names no feed.
 */
ExitCode renderGallery(const QString &folder, const QString &feedFile);
