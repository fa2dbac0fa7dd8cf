#pragma once

#include "ui_informationbox.h"

#include <QTextBlockFormat>
#include <QTextCursor>
#include <QWidget>

/**
 * A small message window with a picture as its background: a rich-text message, two buttons and a check box that asks
 * not to show the message again. Of a fixed size; a message that is too long is clipped.
 *
 * It only builds and paints itself. Its owner sets title and texts, connects the buttons' clicked(), closes a button
 * that is not needed, shows the box, and reads the check box once a button was pressed: the check box emits no signals.
 * It keeps its state between two showings.
 *
 * Web links of the message open in the user's browser. GUI thread. Rests on Qt Widgets and the resource tree.
 */
class InformationBox : public QWidget
{
    Q_OBJECT

public:
    /// @param parent  owner; null makes it a window
    explicit InformationBox(QWidget *parent = nullptr);

    /// The form: okButton, noButton, dontShowCheckBox, textMessage.
    Ui::InformationBox ui;

protected:
    /// Draws the picture over the whole of it.
    void paintEvent(QPaintEvent *event) override;

private:
    QTextCursor m_cursor;
    QTextBlockFormat m_blockFormat;
};
