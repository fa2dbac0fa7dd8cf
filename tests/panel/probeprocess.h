#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

/**
 * A running singleinstance_probe. Its process ends together with the object, in whatever state it is.
 *
 * What it prints is collected in the event loop. Rests on QProcess and processcontrol.
 */
class ProbeProcess
{
public:
    /// The probe's executable, $KDMX_PROBE.
    static QString program();

    /**
     * Starts a probe.
     *
     * @param runtimeFolder  $XDG_RUNTIME_DIR of the process; Windows knows no such folder
     * @param arguments  of the program
     * @param program  the probe, or a program that starts it
     */
    explicit ProbeProcess(const QString &runtimeFolder, const QStringList &arguments = {},
                          const QString &program = ProbeProcess::program());

    /// Kills the process, also a stopped one, and waits until it is gone.
    ~ProbeProcess();

    Q_DISABLE_COPY_MOVE(ProbeProcess)

    /// Whether the process has printed a line.
    bool printed(const QString &line) const { return m_lines.contains(line); }

    /// How many messages the process has received.
    qsizetype messages() const { return m_lines.filter(QStringLiteral("message ")).size(); }

    /// How long sendMessage() took, in milliseconds; -1 when that was not printed yet.
    int sendingTime() const;

    /// Whether the process has ended and everything it printed is here.
    bool ended() const { return m_ended; }

    /// Exit code; -1 when the process was killed or has not ended.
    int exitCode() const;

    /// Everything the process has printed as warnings.
    QString errors() const { return QString::fromLocal8Bit(m_errors).remove(u'\r'); }

    void kill();
    void suspend();
    void resume();

private:
    void read();

    QProcess m_process;
    QByteArray m_output;
    QByteArray m_errors;
    QStringList m_lines;
    bool m_ended = false;
};
