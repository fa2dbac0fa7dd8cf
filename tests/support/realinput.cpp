#include "realinput.h"

#include <QWidget>

namespace realinput {

void click(const QWidget *widget)
{
    click(widget, widget->rect().center());
}

void click(const QWidget *widget, QPoint position)
{
    const QPointF point = QPointF(widget->mapToGlobal(position)) * widget->devicePixelRatioF();
    click(point.toPoint());
}

} // namespace realinput
