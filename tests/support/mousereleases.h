#pragma once

#include <QEvent>
#include <QObject>

/// Counts the clicks that arrive at a widget, whether it takes them or not: an event filter of it.
class Releases : public QObject
{
public:
    int count = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::MouseButtonRelease)
            ++count;
        return false;
    }
};
