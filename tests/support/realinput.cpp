#include "realinput.h"

#include <QProcess>
#include <QTest>
#include <QWidget>

namespace realinput {

namespace {

void xdotool(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    // Not waitForFinished(): the windows of this very process must go on serving their events.
    QVERIFY2(QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 10000), "xdotool hangs");
    QVERIFY2(process.exitCode() == 0, process.readAllStandardError().constData());
    QTest::qWait(50);
}

} // namespace

void click(const QWidget *widget)
{
    click(widget, widget->rect().center());
}

void click(const QWidget *widget, QPoint position)
{
    const QPointF point = QPointF(widget->mapToGlobal(position)) * widget->devicePixelRatioF();
    xdotool({QStringLiteral("mousemove"), QString::number(qRound(point.x())), QString::number(qRound(point.y())),
             QStringLiteral("click"), QStringLiteral("1")});
}

void key(const QString &name)
{
    xdotool({QStringLiteral("key"), name});
}

} // namespace realinput
