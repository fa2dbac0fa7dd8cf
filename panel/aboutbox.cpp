#include "aboutbox.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

QLabel *createIcon(QWidget *parent)
{
    auto *const icon = new QLabel(parent);
    icon->setPixmap(QPixmap(QStringLiteral(":/Resource/icon/icon_128.png")));
    return icon;
}

QLabel *createMainText(const QString &version, QWidget *parent)
{
    auto *const text = new QLabel(QStringLiteral("Linear PCM Recorder<p>VELMAR KD-MX Series<p>Ver ") + version, parent);
    text->setFont(QFont(QStringLiteral("Arial"), 16, QFont::Bold));
    text->setMargin(10);
    return text;
}

QLabel *createSmallPrint(const QString &line, QWidget *parent)
{
    auto *const label = new QLabel(line, parent);
    label->setFont(QFont(QStringLiteral("Arial"), 9));
    return label;
}

} // namespace

void showAboutBox(const QString &version)
{
    QDialog box;
    box.setWindowTitle(QStringLiteral("VELMAR KD-MX Series"));
    box.setFixedSize(600, 250);
    box.setModal(true);

    auto *const row = new QHBoxLayout;
    row->setAlignment(Qt::AlignCenter);
    row->setSpacing(0);
    row->addWidget(createIcon(&box));
    row->addSpacing(50);
    row->addWidget(createMainText(version, &box));

    auto *const layout = new QVBoxLayout(&box);
    layout->addLayout(row, 1);
    layout->addWidget(createSmallPrint(QStringLiteral("© 2026 ORMEL Corporation. All rights reserved."), &box));
    layout->addWidget(createSmallPrint(
        QStringLiteral("ASIO is a trademark and software of Steinberg Media Technologies GmbH"), &box));
    box.exec();
}
