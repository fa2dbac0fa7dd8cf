#pragma once

#include <QColor>

class QImage;
class QWidget;

/// What every text has to have at least, so that weak eyes can read it (WCAG 2.1, level AA).
constexpr double readableContrast = 4.5;

/// How well one colour stands out from another (WCAG 2.1): from 1, not at all, to 21.
double contrast(const QColor &one, const QColor &other);

/// The same of what a picture shows and what is behind it: the colour that stands out most, and the one that is there
/// most often. 1 for a picture of one colour.
double textContrast(const QImage &picture);

/// Every text that a window shows, of controls that can be used, stands out well enough.
void verifyTextsAreReadable(QWidget *window);
