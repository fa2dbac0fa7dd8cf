#include "informationbox.h"

#include "textonlydocument.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>
#include <QUrl>

namespace {

/// Draws the square of a check box whose style sheet makes everything else transparent: without its own colours it
/// would be invisible.
class VisibleIndicator : public QProxyStyle
{
public:
    explicit VisibleIndicator(QObject *parent) { setParent(parent); }

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override
    {
        const auto *const button = qstyleoption_cast<const QStyleOptionButton *>(option);
        if (element != PE_IndicatorCheckBox || button == nullptr) {
            QProxyStyle::drawPrimitive(element, option, painter, widget);
            return;
        }
        QStyleOptionButton visible = *button;
        visible.palette = QGuiApplication::palette();
        QProxyStyle::drawPrimitive(element, &visible, painter, widget);
    }
};

// Messages come from the network: only web pages are opened for them.
void openWebPage(const QUrl &link)
{
    if (link.scheme() == QStringLiteral("http") || link.scheme() == QStringLiteral("https"))
        QDesktopServices::openUrl(link);
}

} // namespace

InformationBox::InformationBox(QWidget *parent)
    : QWidget(parent)
{
    ui.setupUi(this);
    ui.textMessage->setDocument(new TextOnlyDocument(ui.textMessage));
    // Its owner asks for the state when a button is pressed.
    ui.dontShowCheckBox->blockSignals(true);
    setWindowFlags(Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint);

    // The cursor belongs to no document, so the line height reaches no text: messages keep the font's own spacing,
    // for which the field is laid out.
    m_blockFormat.setLineHeight(30.0, QTextBlockFormat::FixedHeight);
    m_cursor.setBlockFormat(m_blockFormat);

    ui.textMessage->setAcceptRichText(true);
    ui.textMessage->setStyleSheet(QStringLiteral("color: white; font: 12pt;"));
    ui.textMessage->setTextCursor(m_cursor);
    m_cursor.movePosition(QTextCursor::Start);

    // Places and sizes are fixed, and so the font has to be: with another one the two lines of a headline and the
    // versions below it would not fit, nor would the buttons and the check box fit beside each other. Widgets with a
    // style sheet do not inherit the box's font.
    for (QWidget *const widget :
         std::initializer_list<QWidget *>{ui.okButton, ui.noButton, ui.dontShowCheckBox, ui.textMessage})
        widget->setFont(QFont(QStringLiteral("Arial"), 9));
    ui.textMessage->document()->setDocumentMargin(1);
    // The usual blue is lost on dark grey.
    ui.textMessage->document()->setDefaultStyleSheet(QStringLiteral("a { color: #7ebae8; }"));
    ui.dontShowCheckBox->setStyle(new VisibleIndicator(ui.dontShowCheckBox));

    // A browser that followed a link itself would show nothing in place of the message.
    ui.textMessage->setOpenLinks(false);
    connect(ui.textMessage, &QTextBrowser::anchorClicked, this, &openWebPage);
}

void InformationBox::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // Decoded once: Qt keeps pictures by their name.
    painter.drawPixmap(0, 0, QPixmap(QStringLiteral(":/Resource/update/info_570x160_icon.png")));
}
