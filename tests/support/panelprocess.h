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
    /// @param program  the executable; by default the built panel
    explicit PanelProcess(const QString &program = qEnvironmentVariable("KDMX_PANEL"));
    ~PanelProcess();
    Q_DISABLE_COPY_MOVE(PanelProcess)

    void setVariable(const QString &name, const QString &value);
    void removeVariable(const QString &name);

    /// Starts the process; false if it cannot be started.
    bool start();

    /// The system's ids of this process's windows with exactly this title that are on the screen, not minimised.
    QStringList windows(const QString &title) const;

    /// Waits until the main window is on the screen and active; false after the given milliseconds.
    bool waitForWindow(int timeoutMs = 20000);

    /// Waits until a window with this title is on the screen and active; false after the given milliseconds.
    bool waitForWindow(const QString &title, int timeoutMs);

    /// Minimises the main window as its title bar's button does.
    void minimise();

    /// Waits for the process to end; its exit code, or -1 if it still runs, or -2 if it crashed or was killed.
    int waitForExit(int timeoutMs = 20000);

    /// Closes the main window as the user does, by key or title bar, and waits for the end; the exit code as above.
    int close();

    /// Kills the process, which has no chance to tidy up.
    void kill() { m_process.kill(); }

    /// Lets the process hang, and go on.
    void suspend() const;
    void resume() const;

    qint64 pid() const { return m_process.processId(); }

    /// What the panel wrote to standard error so far, with "\n" at the end of each line.
    QString errorOutput();

private:
    static QString activeWindow();
    static void closeWindow(const QString &id);
    static QString withoutTheSystemsLines(const QString &output);

    QProcess m_process;
    QString m_errorOutput;
};
