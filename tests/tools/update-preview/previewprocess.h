#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

/// What a run of update-preview came to.
struct Outcome
{
    int code = -1; ///< exit code; -1 when it crashed or hung
    QString out;
    QString err;
};

/**
 * A run of update-preview with a home of its own, which must stay as it was. Killed with the object.
 */
class PreviewProcess
{
public:
    PreviewProcess();
    ~PreviewProcess();
    Q_DISABLE_COPY_MOVE(PreviewProcess)

    void setVariable(const QString &name, const QString &value);
    void removeVariable(const QString &name);

    /// Starts the program.
    void start(const QStringList &arguments);

    /// Waits until standard error holds a text.
    bool awaitError(const QString &text);

    /// Waits until a window with this title is on the screen, or none is any more.
    bool awaitWindow(const QString &title);
    bool awaitNoWindow(const QString &title);

    /// Gives keys by their X names to the window with this title.
    void press(const QStringList &keys, const QString &title);

    /// Does so until the program ends: a window that is just going takes the keys with it.
    Outcome pressToTheEnd(const QStringList &keys, const QString &title);

    /// Asks the program to end, as the system does.
    void terminate() { m_process.terminate(); }

    /// Waits for the end.
    Outcome finish();

    /// Standard error so far.
    QString error();

    qint64 pid() const { return m_process.processId(); }

    /// The folder that stands for the user's settings.
    QString configFolder() const;

    /// The folder for temporary files.
    QString temporaryFolder() const { return m_temporaryFolder; }

    /// Lets another folder, which must be there, be that one.
    void useTemporaryFolder(const QString &folder);

    /// The folder that stands for the user's home.
    QString home() const { return m_home.path(); }

    /// Whether those two folders hold what they held in the beginning.
    bool hasLeftNothing() const { return contents() == m_contents; }

private:
    QStringList windows(const QString &title) const;
    QStringList contents() const;
    bool hasEndedWithin(int milliseconds) const;

    QTemporaryDir m_home;
    QString m_temporaryFolder;
    QStringList m_contents;
    QProcess m_process;
    QString m_error;
};

/// Runs the program to its end without a display.
Outcome runPreview(const QStringList &arguments);
