#include "servicewindows.h"

#include "informationbox.h"

#include <QApplication>
#include <QMessageBox>
#include <QProgressBar>

namespace servicewindows {

namespace {

/// An offer can be declined; news have only one button.
InformationBox *box(bool canBeDeclined)
{
    for (QWidget *const window : shown()) {
        auto *const candidate = qobject_cast<InformationBox *>(window);
        if (candidate != nullptr && candidate->ui.noButton->isHidden() != canBeDeclined)
            return candidate;
    }
    return nullptr;
}

} // namespace

QList<QWidget *> shown()
{
    QList<QWidget *> windows = QApplication::topLevelWidgets();
    windows.removeIf([](const QWidget *window) {
        return !window->isVisible() || window->windowType() == Qt::ToolTip || window->windowType() == Qt::Popup;
    });
    return windows;
}

InformationBox *offer()
{
    return box(true);
}

InformationBox *news()
{
    return box(false);
}

bool isProgress(const QWidget &window)
{
    return window.findChild<QProgressBar *>() != nullptr;
}

bool isCompletion(const QWidget &window)
{
    return window.isWindow() && window.windowType() == Qt::Window && !isProgress(window)
        && qobject_cast<const InformationBox *>(&window) == nullptr
        && qobject_cast<const QMessageBox *>(&window) == nullptr;
}

} // namespace servicewindows
