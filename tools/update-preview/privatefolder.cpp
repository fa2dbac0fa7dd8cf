#include "privatefolder.h"

#include "environment.h"
#include "panelsettings.h"
#include "updatesettings.h"

#include <QDir>
#include <QUrl>

namespace {

const QString settingsName = QStringLiteral("settings");
const QString packagesName = QStringLiteral("packages");

// Where a system looks for the folder of temporary files.
constexpr const char *temporaryVariables[] = {"TMPDIR", "TMP", "TEMP"};

} // namespace

PrivateFolder::PrivateFolder()
    : m_folder(QDir::tempPath() + QStringLiteral("/update-preview-XXXXXX"))
    , m_folderBefore(QDir::currentPath())
{
    const QDir folder(m_folder.path());
    if (!m_folder.isValid() || !folder.mkdir(settingsName) || !folder.mkdir(packagesName))
        return;
    setPanelSettingsFolder(folder.filePath(settingsName));
    const QString packages = QDir::toNativeSeparators(folder.filePath(packagesName));
    for (const char *const variable : temporaryVariables)
        environment::set(variable, packages);
}

PrivateFolder::~PrivateFolder()
{
    // The service goes to the folder of its package, and a folder somebody is in cannot be removed everywhere.
    QDir::setCurrent(m_folderBefore);
}

bool PrivateFolder::isValid() const
{
    return QDir(m_folder.filePath(packagesName)).exists();
}

void PrivateFolder::setFeed(const QString &address)
{
    updatesettings::write(updatesettings::jsonUrl, address);
}

void PrivateFolder::setNoFeed() const
{
    setFeed(QUrl::fromLocalFile(m_folder.filePath(QStringLiteral("none"))).toString());
}

QString PrivateFolder::keepPackages()
{
    m_folder.setAutoRemove(false);
    QDir(m_folder.filePath(settingsName)).removeRecursively();
    return QDir::toNativeSeparators(m_folder.filePath(packagesName));
}
