#include "realinput.h"

#include <QApplication>
#include <QTest>
#include <QWidget>

namespace realinput {

namespace {

// More places than any of our windows has.
constexpr int longestWay = 10;

} // namespace

void click(const QWidget *widget)
{
    click(widget, widget->rect().center());
}

void click(const QWidget *widget, QPoint position)
{
    const QPointF point = QPointF(widget->mapToGlobal(position)) * widget->devicePixelRatioF();
    click(point.toPoint());
}

bool tabUntil(const std::function<bool()> &isThere)
{
    for (int presses = 0; presses < longestWay && !isThere(); ++presses) {
        const QWidget *const before = QApplication::focusWidget();
        key(QStringLiteral("Tab"));
        if (!QTest::qWaitFor([&] { return isThere() || QApplication::focusWidget() != before; }))
            return false;
    }
    return isThere();
}

} // namespace realinput
