#include "packagefile.h"

#include <QBuffer>
#include <QFile>
#include <QThread>

namespace packagefile {

namespace {

// As much as stays in the processor's cache: pieces of a mebibyte take a third longer.
constexpr qint64 pieceSize = 131'072;

bool copy(QIODevice &body, QFile &file)
{
    QByteArray piece(pieceSize, Qt::Uninitialized);
    while (body.bytesAvailable() > 0) {
        if (QThread::currentThread()->isInterruptionRequested())
            return false;
        const qint64 size = body.read(piece.data(), pieceSize);
        if (size <= 0 || file.write(piece.constData(), size) != size)
            return false;
    }
    return true;
}

/// Whether everything has reached the disk: a full one shows only at the flush or the close.
bool finish(QFile &file)
{
    const bool flushed = file.flush();
    file.close();
    return flushed && file.error() == QFileDevice::NoError;
}

Outcome save(QIODevice &body, const QString &fileName, QIODevice::OpenMode mode, const std::function<void()> &opened)
{
    QFile file(fileName);
    if (!file.open(mode))
        return Outcome::NotOpened;
    if (opened)
        opened();
    const bool copied = copy(body, file);
    if (finish(file) && copied)
        return Outcome::Saved;
    file.remove();
    return Outcome::NotWritten;
}

} // namespace

Outcome save(QIODevice &body, const QString &fileName, const std::function<void()> &opened)
{
    return save(body, fileName, QIODevice::WriteOnly, opened);
}

Outcome saveText(const QByteArray &text, const QString &fileName)
{
    QBuffer body;
    body.setData(text);
    body.open(QIODevice::ReadOnly);
    return save(body, fileName, QIODevice::WriteOnly | QIODevice::Text, {});
}

} // namespace packagefile
