#pragma once

#include "chance.h"
#include "updateserver.h"

#include <QString>
#include <QStringList>

/// Addresses of the update server, chosen by chance among all that it can do.
namespace hostilepaths {

/// The files that the server has to have in its folder.
extern const QString archiveName;
extern const QString installerName;

struct Package
{
    QString address;
    /// What comes if all comes; -1 where that is not known.
    qint64 size = -1;
};

/// A package. @param suffix  what its address ends with
Package package(const UpdateServer &server, Chance &chance, const QString &suffix);

/// An archive that unpacks to the installer and more.
QString archive(const UpdateServer &server);

/// A document.
QString document(const UpdateServer &server, Chance &chance);

} // namespace hostilepaths
