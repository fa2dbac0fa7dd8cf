#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// The bytes of a file; null without one.
inline QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
