#include "feedtext.h"

#include <QFile>
#include <QJsonDocument>
#include <QTest>

namespace feedtext {

namespace {

const QString entryKey = QStringLiteral("Corvo9_version1");

} // namespace

QJsonObject goodEntry()
{
    QFile file(QStringLiteral(KDMX_SOURCES "/packaging/update-feed.example.json"));
    if (!file.open(QIODevice::ReadOnly))
        QTest::qFail("the example is missing", __FILE__, __LINE__);
    return QJsonDocument::fromJson(file.readAll()).object()[entryKey].toObject();
}

QByteArray withEntry(const QJsonObject &entry)
{
    return QJsonDocument(QJsonObject{{entryKey, entry}}).toJson();
}

QString Files::write(const QByteArray &content, const QString &name) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        QTest::qFail("a file cannot be written", __FILE__, __LINE__);
    return file.fileName();
}

} // namespace feedtext
