#pragma once

#include <QProcess>
#include <QString>

/**
 * The real panel in a process of its own, killed at the end of the scope whatever happens.
 *
 * It inherits this process's environment (a private one, see tools/virtual-display) with the changes made through
 * setVariable().
 */
class PanelProcess
{
public:
    /// @param program  the executable; the built panel unless told
    explicit PanelProcess(const QString &program = qEnvironmentVariable("KDMX_PANEL"));
    ~PanelProcess();
    Q_DISABLE_COPY_MOVE(PanelProcess)

    void setVariable(const QString &name, const QString &value);
    void removeVariable(const QString &name);

    /// Starts the process; false if it cannot be started.
    bool start();

    /// X ids of this process's visible windows with exactly this title.
    QStringList windows(const QString &title) const;

    /// Waits until the main window is on the screen and active; false after the given milliseconds.
    bool waitForWindow(int timeoutMs = 20000);

    /// Waits until a window with this title is on the screen; false after the given milliseconds.
    bool waitForWindow(const QString &title, int timeoutMs);

    /// Waits for the process to end; its exit code, or -1 if it still runs, or -2 if it crashed or was killed.
    int waitForExit(int timeoutMs = 20000);

    /// Closes the main window by the window manager's key, and waits for the end; the exit code as above.
    int close();

    void sendSignal(int number) const;
    qint64 pid() const { return m_process.processId(); }

    /// Everything on standard error so far.
    QString errorOutput();

private:
    QProcess m_process;
    QString m_errorOutput;
};
