#include "downloadwindow.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QWidget>

namespace downloadwindow {

namespace {

// Sizes are fixed, and other fonts may be too wide. Widgets with a style sheet do not inherit the window's font.
QFont font(int pointSize)
{
    return QFont(QStringLiteral("Arial"), pointSize);
}

QWidget *createWindow(const UpdateTextRow &texts)
{
    auto *const window = new QWidget;
    window->setFixedSize(250, 100);
    window->setStyleSheet(
        QStringLiteral("color: white; background-image: url(:/Resource/update/Download_250x100.png)"));
    window->setWindowTitle(texts[UpdateTextTitle]);
    window->setWindowFlags(Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint);
    return window;
}

void addLabel(const QString &text, QWidget *window)
{
    auto *const label = new QLabel(text, window);
    label->setStyleSheet(QStringLiteral("color: white; background-image: url(:/Resource/trans.png);"));
    label->setFont(font(11));
    label->setGeometry(10, 10, 230, 20);
}

QProgressBar *addBar(QWidget *window)
{
    auto *const bar = new QProgressBar(window);
    bar->setFont(font(9));
    bar->setRange(0, 100);
    bar->setValue(0);
    // Otherwise the window's white text would stand on the bar's own white.
    bar->setStyleSheet(QStringLiteral(
        "QProgressBar { color: rgb(252, 254, 255); background-color: rgb(30, 36, 43); background-image: none;"
        " border: 1px solid rgb(98, 112, 126); border-radius: 3px; text-align: center; }"
        "QProgressBar::chunk { background-color: rgb(46, 108, 158); border-radius: 2px; }"));
    bar->setGeometry(10, 40, 230, 20);
    return bar;
}

QPushButton *addButton(const QString &text, QWidget *window)
{
    auto *const button = new QPushButton(text, window);
    button->setStyleSheet(QStringLiteral("color: black; background-image: url(:/Resource/trans.png);"));
    button->setFont(font(9));
    button->setMinimumHeight(20);
    button->setGeometry(140, 70, 100, 20);
    return button;
}

} // namespace

Parts createProgress(const UpdateTextRow &texts)
{
    QWidget *const window = createWindow(texts);
    addLabel(texts[UpdateTextDownloading], window);
    QProgressBar *const bar = addBar(window);
    QPushButton *const button = addButton(texts[UpdateTextCancel], window);
    button->setEnabled(false);
    return {window, button, bar};
}

Parts createCompletion(const UpdateTextRow &texts)
{
    QWidget *const window = createWindow(texts);
    addLabel(texts[UpdateTextDownloaded], window);
    return {window, addButton(texts[UpdateTextOk], window), nullptr};
}

} // namespace downloadwindow
