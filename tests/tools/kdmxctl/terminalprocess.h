#pragma once

#include <QByteArray>
#include <QStringList>

#include <sys/types.h>
#include <termios.h>

/**
 * kdmxctl on a terminal of its own: what a person sees and types. Killed with the object.
 */
class TerminalProcess
{
public:
    TerminalProcess(const QStringList &arguments, unsigned short columns);
    ~TerminalProcess();
    TerminalProcess(const TerminalProcess &) = delete;
    TerminalProcess &operator=(const TerminalProcess &) = delete;

    /// Waits until the terminal has shown a text.
    bool await_text(const char *text);

    /// Waits until the program waits too. Before its first wait, ThreadSanitizer's runtime may lose a signal.
    bool await_sleep() const;

    /// Types keys; "\x03" is Ctrl-C, "\x04" Ctrl-D.
    void type(const char *keys);

    /// Sends a signal.
    void signal(int number);

    /// Gives the terminal another size.
    void resize(unsigned short columns, unsigned short rows);

    /// What was shown so far is not looked at any more.
    void forget_shown() { m_shown.clear(); }

    /// Waits for the end; the exit code, -1 when it crashed or hung.
    int finish();

    /// All that was shown so far.
    const QByteArray &shown() const { return m_shown; }

    /// How the terminal is set now.
    termios settings() const;

private:
    /// Takes what there is to show; false when there is no more or time is up.
    bool read_more(int patience_ms);

    int m_terminal = -1;
    int m_kept_open = -1; ///< the program's side, so that the terminal outlives it
    pid_t m_child = -1;
    QByteArray m_shown;
};
