#pragma once

#include <QByteArray>
#include <QIODevice>

#include <functional>

constexpr qsizetype mebibyte = 1'048'576;

/// What is written at a time.
constexpr qsizetype packagePiece = 131'072;

/// Bytes of which each differs from its neighbours.
QByteArray patternOf(qsizetype size);

/// A body that says it holds more than it gives, and notes how it is read.
class PackageBody : public QIODevice
{
public:
    /// @param promised  how many bytes it says there are
    PackageBody(const QByteArray &content, qint64 promised);

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override;

    std::function<void()> atEnd; ///< called when all that was promised has been given
    qint64 largestRead = 0;
    bool failsAtTheEnd = false; ///< tells an error where there is nothing left, not just nothing

protected:
    qint64 readData(char *data, qint64 wanted) override;
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    const QByteArray m_content;
    const qint64 m_promised;
    qint64 m_position = 0;
};
