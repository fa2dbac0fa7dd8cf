#include "packagescene.h"

#include "environment.h"
#include "hostrecord.h"
#include "storedsettings.h"

#include <QDir>
#include <QFile>

namespace {

PackageServer &server()
{
    static PackageServer instance;
    return instance;
}

/// Settings that name a document on the server, for the rest of the process.
void provideSettings()
{
    static const QTemporaryDir settings;
    static bool isDone = false;
    if (std::exchange(isDone, true))
        return;
    environment::set("XDG_CONFIG_HOME", settings.path());
    const QString document = QStringLiteral("/information.json");
    server().serve(document, "{}");
    stored::write(stored::panelFile(), "[Update]\nJsonUrl=" + server().address(document).toLatin1() + '\n');
}

} // namespace

PackageScene::PackageScene()
    : m_formerTemporaryFolder(qEnvironmentVariable(environment::temporaryFolder()))
    , m_formerFolder(QDir::currentPath())
{
    provideSettings();
    environment::set("KDMX_CSCRIPT_RECORD", m_root.filePath(QStringLiteral("record")));
    useTemporaryFolder(folder(QStringLiteral("temporary")));
    QDir::setCurrent(workFolder());
}

PackageScene::~PackageScene()
{
    if (m_formerTemporaryFolder.isNull())
        qunsetenv(environment::temporaryFolder());
    else
        useTemporaryFolder(m_formerTemporaryFolder);
    qunsetenv("KDMX_CSCRIPT_RECORD");
    QDir::setCurrent(m_formerFolder);
}

QString PackageScene::package(const QString &path, const QByteArray &body, const QByteArray &headers)
{
    server().serve(path, body, headers);
    return server().address(path);
}

QString PackageScene::slowPackage(const QString &path, const QByteArray &body)
{
    server().serveSlowly(path, body);
    return server().address(path);
}

int PackageScene::connections() const
{
    return server().connections();
}

void PackageScene::useTemporaryFolder(const QString &folder)
{
    environment::set(environment::temporaryFolder(), folder);
}

QString PackageScene::temporaryFolder() const
{
    return qEnvironmentVariable(environment::temporaryFolder());
}

QString PackageScene::workFolder() const
{
    return folder(QStringLiteral("work"));
}

QString PackageScene::folder(const QString &name) const
{
    if (!QDir(m_root.path()).mkpath(name))
        qFatal("PackageScene: cannot make a folder");
    return m_root.filePath(name);
}

void PackageScene::releaseHost()
{
    stored::write(HostRecord::fileName() + QStringLiteral(".go"), {});
}

void PackageScene::addProgram(const QString &name, const QByteArray &script)
{
    const QString path = m_host.programs() + u'/' + name;
    stored::write(path, script);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

QStringList PackageScene::packageFolders() const
{
    QStringList folders;
    const QDir temporary(temporaryFolder());
    const QFileInfoList entries =
        temporary.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Time | QDir::Reversed);
    for (const QFileInfo &entry : entries)
        folders.append(entry.absoluteFilePath());
    return folders;
}

QString backslashed(const QString &path)
{
    return QString(path).replace(u'/', u'\\');
}

QStringList namesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}
