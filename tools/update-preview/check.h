#pragma once

#include "exitcodes.h"

#include <QString>

#include <optional>

/**
 * Judges a document and tells who is offered what; nothing once it is interrupted (interrupts.h).
 *
 * @param fileName  of the document
 * @param firmware  of the unit in question; if none, of units in general
 * @param strict    whether a warning makes the document invalid
 *
 * GUI thread, in a private folder (privatefolder.h) that names no feed.
 */
ExitCode checkFeed(const QString &fileName, const std::optional<QString> &firmware, bool strict);
