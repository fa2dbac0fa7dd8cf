#include "textcontrast.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHash>
#include <QImage>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QTabBar>
#include <QTest>
#include <QTextBrowser>

#include <algorithm>
#include <cmath>

namespace {

// Frames are no texts.
constexpr int frameWidth = 4;

double luminance(const QColor &colour)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

QRect contents(const QAbstractButton &button, QStyle::SubElement element)
{
    QStyleOptionButton option;
    option.initFrom(&button);
    option.text = button.text();
    return button.style()->subElementRect(element, &option, &button);
}

QRect field(const QComboBox &combo)
{
    QStyleOptionComboBox option;
    option.initFrom(&combo);
    return combo.style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &combo);
}

/// Where a widget shows its texts; nothing if it has none.
QList<QRect> placesOfTexts(const QWidget &widget)
{
    const QRect inside = widget.rect().adjusted(frameWidth, frameWidth, -frameWidth, -frameWidth);
    if (const auto *const label = qobject_cast<const QLabel *>(&widget))
        return label->text().isEmpty() ? QList<QRect>() : QList{widget.rect()};
    if (const auto *const browser = qobject_cast<const QTextBrowser *>(&widget))
        return browser->toPlainText().isEmpty() ? QList<QRect>() : QList{inside};
    if (const auto *const check = qobject_cast<const QCheckBox *>(&widget))
        return {contents(*check, QStyle::SE_CheckBoxContents)};
    if (const auto *const radio = qobject_cast<const QRadioButton *>(&widget))
        return radio->text().isEmpty() ? QList<QRect>() : QList{contents(*radio, QStyle::SE_RadioButtonContents)};
    if (const auto *const button = qobject_cast<const QPushButton *>(&widget))
        return button->text().isEmpty() ? QList<QRect>() : QList{inside};
    if (const auto *const combo = qobject_cast<const QComboBox *>(&widget))
        return {field(*combo).intersected(inside)};
    if (qobject_cast<const QProgressBar *>(&widget) != nullptr)
        return {inside};
    QList<QRect> places;
    if (const auto *const tabs = qobject_cast<const QTabBar *>(&widget)) {
        for (int index = 0; index < tabs->count(); ++index)
            places += tabs->tabRect(index).adjusted(frameWidth, frameWidth, -frameWidth, -frameWidth);
    }
    return places;
}

} // namespace

double contrast(const QColor &one, const QColor &other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

double textContrast(const QImage &picture)
{
    QHash<QRgb, int> counts;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            ++counts[picture.pixel(x, y)];
    }
    const auto fewer = [](int one, int other) { return one < other; };
    const QColor behind(std::max_element(counts.cbegin(), counts.cend(), fewer).key());
    double highest = 1;
    for (auto colour = counts.keyBegin(); colour != counts.keyEnd(); ++colour)
        highest = std::max(highest, contrast(QColor(*colour), behind));
    return highest;
}

void verifyTextsAreReadable(QWidget *window)
{
    const QImage picture = window->grab().toImage();
    const double scale = picture.devicePixelRatio();
    const auto widgets = window->findChildren<QWidget *>();
    for (const QWidget *const widget : widgets) {
        if (!widget->isVisible() || !widget->isEnabled())
            continue;
        for (const QRect &place : placesOfTexts(*widget)) {
            const QRectF shown(QRect(widget->mapTo(window, place.topLeft()), place.size()) & window->rect());
            const QRectF pixels(shown.topLeft() * scale, shown.size() * scale);
            const double found = textContrast(picture.copy(pixels.toAlignedRect()));
            QVERIFY2(found >= readableContrast,
                     qPrintable(QStringLiteral("%1 of %2 has %3")
                                    .arg(widget->objectName(), QString::fromLatin1(widget->metaObject()->className()))
                                    .arg(found)));
        }
    }
}
