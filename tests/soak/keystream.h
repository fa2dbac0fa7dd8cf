#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

/**
 * Presses keys, one after another, while this process goes on; realinput.h waits for each.
 *
 * Its end waits for the last key: one that is left pressed would repeat in whatever window comes next.
 */
class KeyStream
{
public:
    /// @param keys  X names @param pauseMs  between two keys
    KeyStream(const QStringList &keys, int pauseMs)
    {
        m_process.start(QStringLiteral("xdotool"),
                        QStringList{QStringLiteral("key"), QStringLiteral("--delay"), QString::number(pauseMs)} + keys);
        m_process.waitForStarted();
    }

    ~KeyStream() { m_process.waitForFinished(); }
    Q_DISABLE_COPY_MOVE(KeyStream)

private:
    QProcess m_process;
};
