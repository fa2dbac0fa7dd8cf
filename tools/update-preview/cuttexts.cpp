#include "cuttexts.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTextBrowser>

namespace {

bool isCut(const QLabel &label)
{
    const QSize needed = label.wordWrap() ? QSize(0, label.heightForWidth(label.width())) : label.sizeHint();
    return needed.width() > label.width() || needed.height() > label.height();
}

/// Room for the text of a button in the style that draws it.
int roomFor(const QAbstractButton &button, QStyle::SubElement contents)
{
    QStyleOptionButton option;
    option.initFrom(&button);
    return button.style()->subElementRect(contents, &option, &button).width();
}

bool isCut(const QAbstractButton &button)
{
    const auto contents = qobject_cast<const QCheckBox *>(&button) == nullptr ? QStyle::SE_PushButtonContents
                                                                              : QStyle::SE_CheckBoxContents;
    const int needed = button.fontMetrics().boundingRect({}, Qt::TextShowMnemonic, button.text()).width();
    return needed > roomFor(button, contents) || button.fontMetrics().height() > button.height();
}

bool isCut(const QTextBrowser &field)
{
    const QSizeF needed = field.document()->size();
    const QSize room = field.viewport()->size();
    return needed.height() > room.height() || needed.width() > room.width();
}

/// What a window has of one kind of widget that can be seen.
template <typename Widget>
QList<const Widget *> seen(const QWidget &window)
{
    QList<const Widget *> found;
    for (const Widget *const widget : window.findChildren<const Widget *>()) {
        if (widget->isVisibleTo(&window))
            found.append(widget);
    }
    return found;
}

} // namespace

QStringList cutTexts(const QWidget &window)
{
    QStringList cut;
    for (const QLabel *const label : seen<QLabel>(window)) {
        if (!label->text().isEmpty() && isCut(*label))
            cut.append(label->text());
    }
    for (const QAbstractButton *const button : seen<QAbstractButton>(window)) {
        if (isCut(*button))
            cut.append(button->text());
    }
    for (const QTextBrowser *const field : seen<QTextBrowser>(window)) {
        if (isCut(*field))
            cut.append(field->toPlainText());
    }
    return cut;
}
