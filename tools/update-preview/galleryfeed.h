#pragma once

#include <QJsonDocument>
#include <QString>

/// What the gallery lets the service show.
struct GalleryFeed
{
    QString json; ///< a document whose program is newer than this one, and whose firmware is newer than the unit's
    QString unit; ///< product name
    QString firmware; ///< what the unit has
};

/**
 * Makes a document that leads to every window.
 *
 * @param own  whose news and versions are to be seen, versions only as far as they are newer; null: an example
 */
GalleryFeed galleryFeed(const QJsonDocument &own);
