#pragma once

#include "finding.h"

#include <QJsonDocument>

/// What is legal in a document but surely a mistake; not all of it once interrupted (interrupts.h). Draws news in a
/// window, to see whether they fit it. GUI thread.
Findings feedWarnings(const QJsonDocument &document);
