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

/**
 * Reads a file, which may be a pipe. One of more than 64 MiB is refused: no document is so long. An interrupt
 * (interrupts.h) ends the wait for one that is not read yet.
 */
Content read(const QString &fileName);

/// A document, or why there is none.
struct Parsed
{
    QJsonDocument document;
    QString error; ///< what the bytes are instead: "not valid UTF-8", "no JSON: line 1 ..."; empty if they are JSON
};

/// Reads a document. The service puts other letters in the place of what is not UTF-8; here such bytes are refused.
Parsed parse(const QByteArray &bytes);

} // namespace feedfile
