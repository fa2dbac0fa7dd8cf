#include "informationthread.h"

#include "environment.h"
#include "storedsettings.h"

#include <QDir>
#include <QDirIterator>
#include <QRegularExpression>
#include <QTest>

namespace {

constexpr int patienceMs = 30'000;

const QString arrow = QStringLiteral("-> ");

QString escaped(const QString &path)
{
    return QRegularExpression::escape(path);
}

bool isProgress(const QString &line)
{
    return line.startsWith(QStringLiteral("UpdateInformation: ProgressBar"))
        || line.startsWith(arrow + QStringLiteral("progressValueChanged"));
}

} // namespace

InformationThread::InformationThread()
    : m_formerFolder(QDir::currentPath())
    , m_information(std::make_unique<UpdateInformation>())
{
    environment::set(environment::temporaryFolder(), m_folder.path());
    listen();
    m_information->moveToThread(&m_thread);
    m_courier.moveToThread(&m_thread);
    m_thread.start();
}

InformationThread::~InformationThread()
{
    end();
    QDir::setCurrent(m_formerFolder);
    qunsetenv(environment::temporaryFolder());
}

/// Straight connections: what the object does and says stands in one order.
void InformationThread::listen()
{
    UpdateInformation *const from = m_information.get();
    const auto note = [this](const QString &text) {
        take();
        m_transcript.append(arrow + text);
    };
    QObject::connect(from, &UpdateInformation::finishedInformation, from,
                     [note](const QString &text) { note(QStringLiteral("finishedInformation ") + text); });
    QObject::connect(from, &UpdateInformation::startedDownloadFile, from,
                     [note] { note(QStringLiteral("startedDownloadFile")); });
    QObject::connect(from, &UpdateInformation::finishedDownloadFile, from,
                     [note] { note(QStringLiteral("finishedDownloadFile")); });
    QObject::connect(from, &UpdateInformation::progressValueChanged, from,
                     [note](int percent) { note(QStringLiteral("progressValueChanged ") + QString::number(percent)); });
    QObject::connect(from, &UpdateInformation::errorDownloadFile, from,
                     [note] { note(QStringLiteral("errorDownloadFile")); });
    QObject::connect(from, &UpdateInformation::readiedExec, from, [note] { note(QStringLiteral("readiedExec")); });
}

void InformationThread::take()
{
    m_transcript += DebugLines::take();
}

void InformationThread::fetch(const QString &address)
{
    stored::write(stored::panelFile(), "[Update]\nJsonUrl=\"" + address.toUtf8() + "\"\n");
    in([](UpdateInformation &information) { information.downloadInformation(); });
}

void InformationThread::download(const QString &address)
{
    in([&](UpdateInformation &information) { information.downloadFile(address); });
}

void InformationThread::cancel()
{
    in([](UpdateInformation &information) { information.cancelDownload(); });
}

QStringList InformationThread::transcript()
{
    QStringList lines;
    // Copied where it is written, for the object may speak again at once.
    const auto copy = [&] {
        take();
        lines = m_transcript;
    };
    if (m_information != nullptr && m_thread.isRunning())
        in([&](UpdateInformation &) { copy(); });
    else
        copy();
    const QRegularExpression made(escaped(m_folder.path()) + QStringLiteral("/[^/]+"));
    const QRegularExpression madeWindows(escaped(m_folder.path().replace(u'/', u'\\'))
                                         + QStringLiteral("\\\\[^\\\\]+"));
    return lines.replaceInStrings(made, QStringLiteral("TEMP")).replaceInStrings(madeWindows, QStringLiteral("TEMP"));
}

QStringList InformationThread::story()
{
    QStringList lines = transcript();
    lines.removeIf(isProgress);
    return lines;
}

QStringList InformationThread::outcome()
{
    QStringList lines = story().filter(QRegularExpression(QStringLiteral("^-> ")));
    return lines.replaceInStrings(QRegularExpression(QStringLiteral("^-> ")), QString());
}

bool InformationThread::waitFor(const QString &line)
{
    return QTest::qWaitFor([&] { return transcript().contains(line); }, patienceMs);
}

void InformationThread::forget()
{
    in([this](UpdateInformation &) {
        take();
        m_transcript.clear();
    });
}

void InformationThread::end()
{
    if (!m_thread.isRunning())
        return;
    if (m_information != nullptr)
        in([](UpdateInformation &information) { information.shutDown(); });
    m_thread.quit();
    m_thread.wait();
}

void InformationThread::destroyInThread()
{
    m_courier.carry([this] { m_information.reset(); });
    end();
}

QStringList InformationThread::files() const
{
    QStringList found;
    for (QDirIterator entry(m_folder.path(), QDir::Files, QDirIterator::Subdirectories); entry.hasNext();)
        found.append(entry.next());
    return found;
}
