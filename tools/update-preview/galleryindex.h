#pragma once

#include <QList>
#include <QLocale>
#include <QSize>
#include <QString>
#include <QStringList>

/// A window of the service in one language, drawn to a file.
struct Picture
{
    QLocale::Language language;
    QString kind; ///< what it is: "Program offer"
    QString id; ///< unique: "de-program-offer"
    QString fileName;
    QString title; ///< of the window
    QString texts; ///< all that can be read in it
    QStringList cutTexts; ///< what of it does not fit
    QSize size; ///< in pixels of a page
};

/**
 * The index of a gallery: one page without scripts that needs nothing but the pictures beside it.
 *
 * @param source  what the news are from
 */
QString galleryIndex(const QList<Picture> &pictures, const QString &source);
