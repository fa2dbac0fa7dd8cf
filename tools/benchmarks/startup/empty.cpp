#include <QApplication>
#include <QWidget>

// The cheapest window of the panel's size: what Qt Widgets alone cost.
int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    QWidget window;
    window.setFixedSize(363, 324);
    window.show();
    return QApplication::exec();
}
