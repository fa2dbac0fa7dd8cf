#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>

#include <functional>
#include <initializer_list>

/// What a run of kdmxctl came to.
struct Outcome
{
    int code = -1; ///< exit code; -1 when it crashed or hung
    QByteArray out;
    QByteArray err;

    /// Standard output as the one JSON object that it must be; empty, and a failed test, when it is not.
    QJsonObject json() const;
};

/// The words of a command line, which hold no blanks.
QStringList words(const char *line);

/// Runs the program to its end, with standard input closed.
Outcome run_kdmxctl(const QStringList &arguments, const std::function<void(QProcess *)> &prepare = {});

/// A run that a test looks at, and acts on, before its end. Killed with the object.
class KdmxctlProcess
{
public:
    /// @param ignores_signals  starts the program with SIGINT and SIGHUP ignored, as "nohup" and "&" of a script do
    explicit KdmxctlProcess(const QStringList &arguments, bool ignores_signals = false);

    /// Waits until standard error holds a text.
    bool await_error_text(const char *text);

    /// Sends a signal.
    void signal(int number);

    /// Waits for the end.
    Outcome finish();

private:
    QProcess m_process;
    QByteArray m_err;
};
