#include "realinput.h"

#include <QProcess>
#include <QTest>

namespace realinput {

namespace {

void xdotool(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    // Not waitForFinished(): the windows of this very process must go on serving their events.
    QVERIFY2(QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 10000), "xdotool hangs");
    QVERIFY2(process.exitCode() == 0, process.readAllStandardError().constData());
    // Nothing tells when the event has arrived. Tests wait for its effects; this is for events without any.
    QTest::qWait(50);
}

} // namespace

void click(QPoint screenPixel)
{
    xdotool({QStringLiteral("mousemove"), QString::number(screenPixel.x()), QString::number(screenPixel.y()),
             QStringLiteral("click"), QStringLiteral("1")});
}

void key(const QString &name)
{
    xdotool({QStringLiteral("key"), name});
}

} // namespace realinput
