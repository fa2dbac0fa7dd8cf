#pragma once

#include <QStringList>

/// The candidate that a misspelt word was surely meant to be; empty if none is near. Case does not count.
QString nearestTo(const QString &word, const QStringList &candidates);
