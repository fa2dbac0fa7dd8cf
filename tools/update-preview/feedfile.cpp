#include "feedfile.h"

#include "interrupts.h"

#include <QDir>
#include <QFile>
#include <QStringDecoder>

#include <chrono>
#include <future>
#include <thread>

namespace feedfile {

namespace {

constexpr qint64 largestFile = 67'108'864;
constexpr std::chrono::milliseconds interruptPoll(100);

QString place(const QByteArray &bytes, int offset)
{
    const QByteArray before = bytes.left(offset);
    const qsizetype line = before.count('\n') + 1;
    const qsizetype column = QString::fromUtf8(before.mid(before.lastIndexOf('\n') + 1)).size() + 1;
    return QStringLiteral("line %1, column %2").arg(line).arg(column);
}

Content readWhole(const QString &fileName)
{
    const QString name = QDir::toNativeSeparators(fileName);
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {{}, QStringLiteral("%1 cannot be read: %2.").arg(name, file.errorString())};
    Content content{file.read(largestFile + 1), {}};
    if (file.error() != QFileDevice::NoError)
        return {{}, QStringLiteral("%1 cannot be read: %2.").arg(name, file.errorString())};
    if (content.bytes.size() > largestFile)
        return {{}, QStringLiteral("%1 is larger than 64 MiB.").arg(name)};
    return content;
}

} // namespace

Content read(const QString &fileName)
{
    // A pipe may be waited for without end, and Qt does not let a signal end that.
    std::packaged_task<Content()> task([fileName] { return readWhole(fileName); });
    std::future<Content> content = task.get_future();
    std::thread(std::move(task)).detach();
    while (content.wait_for(interruptPoll) != std::future_status::ready) {
        if (interrupts::haveCome())
            return {{}, QStringLiteral("%1 was not read to its end.").arg(QDir::toNativeSeparators(fileName))};
    }
    return content.get();
}

Parsed parse(const QByteArray &bytes)
{
    // Without a state, a letter that is cut off at the end is an error too.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return {{}, QStringLiteral("not valid UTF-8")};
    const QByteArray decoded = text.toUtf8();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(decoded, &error);
    if (error.error == QJsonParseError::NoError)
        return {document, {}};
    return {{}, QStringLiteral("no JSON: %1: %2").arg(place(decoded, error.offset), error.errorString())};
}

} // namespace feedfile
