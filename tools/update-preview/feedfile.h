#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QString>

/**
 * Files with an update-information document. Rests on QFile and QJsonDocument.
 */
namespace feedfile {

/// The bytes of a file, or why there are none.
struct Content
{
    QByteArray bytes;
    QString error; ///< a sentence; empty if the file was read
};

/// Reads a file. One of more than 64 MiB is refused: no document is so long.
Content read(const QString &fileName);

/// A document, or why there is none.
struct Parsed
{
    QJsonDocument document;
    QString error; ///< words with line and column; empty if the bytes are JSON
};

/// Reads the document as the service does.
Parsed parse(const QByteArray &bytes);

} // namespace feedfile
