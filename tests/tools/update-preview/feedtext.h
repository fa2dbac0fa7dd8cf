#pragma once

#include <QJsonObject>
#include <QString>
#include <QTemporaryDir>

/**
 * Documents for tests: a good one, and files of others.
 */
namespace feedtext {

/// The update entry of the example that is published with the program. Its check gives no warning.
QJsonObject goodEntry();

/// A document with this entry.
QByteArray withEntry(const QJsonObject &entry);

/// Files that are gone with the object.
class Files
{
public:
    /// Writes a file. @return its full path
    QString write(const QByteArray &content, const QString &name = QStringLiteral("feed.json")) const;

    QString path(const QString &name) const { return m_folder.filePath(name); }

private:
    QTemporaryDir m_folder;
};

} // namespace feedtext
