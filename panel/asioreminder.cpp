#include "asioreminder.h"

#include <QCheckBox>
#include <QMessageBox>

namespace {

struct Texts
{
    QString message;
    QString checkBox;
};

// Outside the translation file: Chinese has no other text in the panel.
Texts textsFor(QLocale::Language language)
{
    switch (language) {
    case QLocale::Japanese:
        return {QStringLiteral("ASIO対応のソフトウェアをお使いの際は、下記のドライバーを<br>選択してください。"
                               "<p><big>'KD-MX Series ASIO'</big>"),
                QStringLiteral("次からは表示しない")};
    case QLocale::Chinese:
        return {QStringLiteral("请确认ASIO软件是否设定为以下的驱动程序。<p><big>'KD-MX Series ASIO'</big>"),
                QStringLiteral("不再提示")};
    default:
        return {QStringLiteral("When you are using an ASIO-compatible software, please make sure the following driver "
                               "has been selected.<p><big>'KD-MX Series ASIO'</big>"),
                QStringLiteral("Do not show again")};
    }
}

} // namespace

bool showAsioReminder(QLocale::Language language)
{
    const Texts texts = textsFor(language);
    QMessageBox box(QMessageBox::Information, QStringLiteral("VELMAR KD-MX Series Information"), texts.message,
                    QMessageBox::Ok);
    // With a second accept-role button the box no longer knows by itself what Enter and Esc mean.
    box.setDefaultButton(QMessageBox::Ok);
    box.setEscapeButton(QMessageBox::Ok);

    // The accept role puts the check box into the button row; with its signals blocked a click only toggles it.
    auto *const doNotShowAgain = new QCheckBox(texts.checkBox, &box);
    doNotShowAgain->blockSignals(true);
    box.addButton(doNotShowAgain, QMessageBox::AcceptRole);

    box.exec();
    return doNotShowAgain->isChecked();
}
