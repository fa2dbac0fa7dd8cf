#pragma once

#include "informationthread.h"
#include "updateserver.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>

/**
 * What all tests of a download by UpdateInformation begin with: a server, settings of their own, and the limits of the
 * product at the beginning of each case; and what such a download says.
 */
class DownloadFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

protected:
    static constexpr int defaultSilenceLimit = 60'000;
    static constexpr qint64 defaultLargestPackage = 2'147'483'648;

    // Lines of a transcript.
    static inline const QString started = QStringLiteral("-> startedDownloadFile");
    static inline const QString finished = QStringLiteral("-> finishedDownloadFile");
    static inline const QString failed = QStringLiteral("-> errorDownloadFile");
    static inline const QString readied = QStringLiteral("-> readiedExec");
    static inline const QString cancelling = QStringLiteral("UpdateInformation: cancel download");
    static inline const QString aborting = QStringLiteral("UpdateInformation: file download abort");
    static inline const QString errorFollows = QStringLiteral("UpdateInformation: file download error");
    static inline const QString cancelled = QStringLiteral("Operation canceled");

    // Whole stories.
    static QStringList beginning(const QString &address, bool isExe = true);
    static QStringList succeeding(const QString &address, qint64 size);
    static QStringList failing(const QString &address, const QString &error);
    static QStringList unpacking(const QString &address);

    /// What follows a user's cancel.
    static QStringList cancelledByUser();

    static QStringList timedOut();

    /// The percentages of a transcript.
    static QList<int> percentagesIn(const QStringList &transcript);

    /// Whether the script host runs.
    static bool unpacks(UpdateInformation &information);

    /// As in the product: first the document, then packages.
    bool fetched(InformationThread &information) const;

    /// Lets the first response go on until a condition holds; false if it never does.
    bool stepUntil(const std::function<bool()> &condition) const;

    /// The address of a body that comes in a thousand steps, as the first response.
    QString stepped(const QString &path) const;

    // A response that nobody waits for any more takes steps too, so each case has names of its own.
    QString first() const { return QStringLiteral("first%1").arg(m_case); }
    QString second() const { return QStringLiteral("second%1").arg(m_case); }

    QTemporaryDir m_settings;
    UpdateServer m_server;

private:
    int m_case = 0;
};
