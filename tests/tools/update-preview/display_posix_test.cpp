#include "feedtext.h"
#include "previewprocess.h"

#include <QTest>

/// Where there is no display. On Windows there always is one.
class DisplayPosixTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void windowsNeedADisplay()
    {
        const feedtext::Files files;
        const Outcome outcome =
            runPreview({QStringLiteral("--feed"), files.write(feedtext::withEntry(feedtext::goodEntry()))});
        QCOMPARE(outcome.code, 2);
        QVERIFY2(outcome.err.contains(QStringLiteral("no display")), qPrintable(outcome.err));
    }
};

QTEST_GUILESS_MAIN(DisplayPosixTest)
#include "display_posix_test.moc"
