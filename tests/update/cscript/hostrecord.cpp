#include "hostrecord.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {

const QString pidKey = QStringLiteral("pid");
const QString argumentsKey = QStringLiteral("arguments");
const QString folderKey = QStringLiteral("folder");
const QString scriptKey = QStringLiteral("script");
const QString filesKey = QStringLiteral("files");
const QString archiveKey = QStringLiteral("archive");

QByteArray content(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray checksum(const QString &name)
{
    QFile file(name);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? hash.result() : QByteArray();
}

QString encoded(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toBase64());
}

QByteArray decoded(const QJsonValue &value)
{
    return QByteArray::fromBase64(value.toString().toLatin1());
}

QStringList texts(const QJsonValue &value)
{
    QStringList result;
    const QJsonArray array = value.toArray();
    for (const auto &text : array)
        result.append(text.toString());
    return result;
}

} // namespace

QString HostRecord::fileName()
{
    return qEnvironmentVariable("KDMX_CSCRIPT_RECORD");
}

void HostRecord::write(const QStringList &arguments)
{
    if (fileName().isEmpty())
        return;
    const QJsonObject record{
        {pidKey, QCoreApplication::applicationPid()},
        {argumentsKey, QJsonArray::fromStringList(arguments)},
        {folderKey, QDir::currentPath()},
        {scriptKey, encoded(content(arguments.value(0)))},
        {filesKey, QJsonArray::fromStringList(QDir().entryList(QDir::Files | QDir::Hidden, QDir::Name))},
        {archiveKey, encoded(checksum(arguments.value(1).replace(u'\\', u'/')))},
    };
    QSaveFile file(fileName());
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(record).toJson());
        file.commit();
    }
}

HostRecord HostRecord::read()
{
    const QJsonObject record = QJsonDocument::fromJson(content(fileName())).object();
    return {
        .pid = record.value(pidKey).toInteger(),
        .arguments = texts(record.value(argumentsKey)),
        .folder = record.value(folderKey).toString(),
        .script = decoded(record.value(scriptKey)),
        .files = texts(record.value(filesKey)),
        .archive = decoded(record.value(archiveKey)),
    };
}
