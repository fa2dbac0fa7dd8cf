#include "ui_mainwindow.h"

// The panel's form and nothing behind it: what its looks alone cost.
int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    QMainWindow window;
    Ui::MainWindow form;
    form.setupUi(&window);
    window.setFixedSize(window.sizeHint());
    window.show();
    return QApplication::exec();
}
