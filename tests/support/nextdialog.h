#pragma once

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QDialog>
#include <QTimer>

#include <functional>

/**
 * Works the modal dialog that comes next, once it is on the screen and active. Make one before the call that opens the
 * dialog; the work has to close it. GUI thread.
 */
class NextDialog
{
public:
    explicit NextDialog(std::function<void(QDialog &)> work)
    {
        QObject::connect(&m_poll, &QTimer::timeout, &m_poll, [this, work = std::move(work)] {
            auto *const dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
            if (dialog == nullptr || !dialog->isActiveWindow())
                return;
            m_poll.stop();
            m_seen = true;
            work(*dialog);
            // Where the work waited, the end of the dialog came to an event loop inside the dialog's own, and that one
            // may go on sleeping on Windows.
            QAbstractEventDispatcher::instance()->interrupt();
        });
        m_poll.start(20);
    }

    /// Whether a dialog came.
    bool seen() const { return m_seen; }

private:
    QTimer m_poll;
    bool m_seen = false;
};
