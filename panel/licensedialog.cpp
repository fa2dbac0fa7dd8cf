#include "licensedialog.h"

#include <QCoreApplication>
#include <QDialog>
#include <QFile>
#include <QMessageBox>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace {

void warnOfMissingFile(QWidget *parent)
{
    QMessageBox::warning(
        parent, QCoreApplication::translate("MainWindow", "File Missing!"),
        QCoreApplication::translate("MainWindow", "There is a possibility that the file has been moved or deleted."),
        QMessageBox::Ok);
}

void showText(const QString &text)
{
    QDialog dialog;
    dialog.setWindowTitle(QStringLiteral("License Information"));
    dialog.setFixedSize(650, 400);
    dialog.setModal(true);
    auto *const browser = new QTextBrowser(&dialog);
    browser->setPlainText(text);
    auto *const layout = new QVBoxLayout(&dialog);
    layout->addWidget(browser);
    dialog.exec();
}

} // namespace

void showLicense(QWidget *parent)
{
    QFile file(QStringLiteral(":/Resource/LICENSE.txt"));
    if (!file.open(QIODevice::ReadOnly)) {
        warnOfMissingFile(parent);
        return;
    }
    // Page breaks are for printers; a text browser would show them as boxes.
    showText(QString::fromUtf8(file.readAll()).remove(u'\f'));
}
