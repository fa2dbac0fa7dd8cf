#include "packagescene.h"

#include "hostrecord.h"
#include "storedsettings.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <csignal>

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
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(settings.path()));
    const QString document = QStringLiteral("/information.json");
    server().serve(document, "{}");
    stored::write(stored::panelFile(), "[Update]\nJsonUrl=" + server().address(document).toLatin1() + '\n');
}

} // namespace

PackageScene::PackageScene()
    : m_formerFolder(QDir::currentPath())
{
    provideSettings();
    set("PATH", folder(QStringLiteral("programs")));
    set("KDMX_CSCRIPT_RECORD", m_root.filePath(QStringLiteral("record")));
    set("KDMX_CSCRIPT_MODE", {});
    useTemporaryFolder(folder(QStringLiteral("temporary")));
    QDir::setCurrent(workFolder());
    useHost();
}

PackageScene::~PackageScene()
{
    for (auto former = m_formerValues.cbegin(); former != m_formerValues.cend(); ++former) {
        if (former.value().isNull())
            qunsetenv(former.key().constData());
        else
            qputenv(former.key().constData(), former.value());
    }
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
    set("TMPDIR", folder);
}

QString PackageScene::temporaryFolder() const
{
    return qEnvironmentVariable("TMPDIR");
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

void PackageScene::useHost(const QByteArray &mode)
{
    removeHost();
    QFile::link(qEnvironmentVariable("KDMX_CSCRIPT"), folder(QStringLiteral("programs")) + QStringLiteral("/cscript"));
    set("KDMX_CSCRIPT_MODE", QString::fromLatin1(mode));
}

void PackageScene::removeHost()
{
    QFile::remove(folder(QStringLiteral("programs")) + QStringLiteral("/cscript"));
}

void PackageScene::releaseHost()
{
    stored::write(HostRecord::fileName() + QStringLiteral(".go"), {});
}

void PackageScene::addProgram(const QString &name, const QByteArray &script)
{
    const QString path = folder(QStringLiteral("programs")) + u'/' + name;
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

void PackageScene::set(const char *variable, const QString &value)
{
    if (!m_formerValues.contains(variable))
        m_formerValues.insert(variable, qEnvironmentVariableIsSet(variable) ? qgetenv(variable) : QByteArray());
    qputenv(variable, QFile::encodeName(value));
}

QString backslashed(const QString &path)
{
    return QString(path).replace(u'/', u'\\');
}

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList namesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

bool isAlive(qint64 pid)
{
    return kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH;
}
