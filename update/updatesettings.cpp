#include "updatesettings.h"

#include "panelsettings.h"
#include "settingsfile.h"

namespace updatesettings {

namespace {

const QString group = QStringLiteral("Update");

// A settings file of more than a mebibyte counts as spoilt and would be set aside with all it holds. A character takes
// at most four bytes there.
constexpr qsizetype longestValue = 65'536;

} // namespace

QString read(const QString &key)
{
    QSettings settings = openPanelSettings();
    settings.beginGroup(group);
    return settings.value(key, QString()).toString();
}

void write(const QString &key, const QString &value)
{
    if (value.size() > longestValue)
        return;
    QSettings settings = openPanelSettings();
    settings.beginGroup(group);
    settingsfile::saveValue(settings, key, value);
}

} // namespace updatesettings
