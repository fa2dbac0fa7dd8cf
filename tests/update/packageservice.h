#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QThread>

#include <memory>

class UpdateInformation;

/**
 * An UpdateInformation in its thread, owned as the update service owns it, and what it has announced so far.
 *
 * Needs an event loop in the thread that made it.
 */
class PackageService : public QObject
{
    Q_OBJECT

public:
    /// Starts the thread. The address of the document is that of the settings.
    PackageService();

    /// Ends whatever is under way.
    ~PackageService() override;

    /// Fetches the document, without which nothing else can be done, and waits for it. Whether it has come.
    bool fetch();

    /// Each of these asks for what the slot of the same name does, and returns at once.
    void download(const QString &url);
    void cancel();
    void launch();
    void findMounted(int exitCode, bool hasCrashed);

    /// What was announced, in order: "started", "finished", "error", "ready".
    const QStringList &events() const { return m_events; }

    /// The percentages announced.
    const QList<int> &progress() const { return m_progress; }

    /// How often a document was announced.
    int documents() const { return m_documents; }

    /// Waits until everything that was asked for has been begun, and what it announced on the way is here.
    void settle();

private:
    QThread m_thread;
    std::unique_ptr<UpdateInformation> m_information;
    QStringList m_events;
    QList<int> m_progress;
    int m_documents = 0;
};
