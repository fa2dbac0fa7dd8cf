#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// One entry of a ZIP archive. A name that ends with "/" is that of a folder.
struct ZipEntry
{
    QString name;
    QByteArray content = {};
    bool isExecutable = false;
};

/// The bytes of a ZIP archive with these entries, in this order.
QByteArray zipFile(const QList<ZipEntry> &entries);
