// A package that the user accepts, by its windows up to its installer, which is unpacked and started for real.

#include "environment.h"
#include "installerprogram.h"
#include "packagescene.h"
#include "realinput.h"
#include "sanitizers.h"
#include "servicelog.h"
#include "updatesoftwareprobe.h"
#include "zipfile.h"

#include <QApplication>
#include <QDir>
#include <QLocale>
#include <QPushButton>
#include <QTest>

#include <memory>
#include <optional>

namespace {

constexpr int patienceMs = 30'000;

const QString setupName = QStringLiteral("setup.exe");

/// Publishes the package, as the product of that name only.
QByteArray document(const QString &product, const QString &package)
{
    return QStringLiteral(R"({"Corvo9_version1": {
        "windows_software_version_major": 1, "windows_software_version_minor": %1,
        "firmware_version_major": 1, "firmware_version_minor": 5,
        "windows_%2_url_en": "%3"}})")
        .arg(product == QStringLiteral("software") ? 11 : 10)
        .arg(product, package)
        .toUtf8();
}

} // namespace

class UpdateSoftwareInstallerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QLocale::setDefault(QLocale(QLocale::English));
        const QString formerPath = qEnvironmentVariable("PATH");
        m_scene = std::make_unique<PackageScene>();
        // What works the mouse is to be found, too.
        environment::set("PATH", m_scene->host().programs() + QDir::listSeparator() + formerPath);
        m_log = std::make_unique<ServiceLog>();
    }

    void cleanup()
    {
        m_probe.reset();
        m_service.reset();
        m_log.reset();
        m_scene.reset();
        QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
    }

    void settlesNothing_data()
    {
        QTest::addColumn<int>("stage");
        QTest::newRow("software") << 0;
        QTest::newRow("firmware") << 1;
    }

    /// With the installer at work, the user is asked nothing more.
    void settlesNothing()
    {
        if (underThreadSanitizer)
            QSKIP("the worker's thread starts processes");
        QFETCH(int, stage);
        InformationBox *const offer = offered(QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(offer != nullptr);
        QVERIFY(QTest::qWaitForWindowActive(offer));
        realinput::click(offer->ui.okButton);
        QTRY_VERIFY_WITH_TIMEOUT(isComplete(), patienceMs);
        verifyOpen(stage);

        QVERIFY(QTest::qWaitForWindowActive(m_probe->downloadWindow()));
        realinput::click(m_probe->downloadButton());
        QCOMPARE(installerprogram::note(marks()).value(0), m_scene->packageFolders().value(0) + u'/' + setupName);
        QTRY_VERIFY(m_probe->downloadWindow() == nullptr);
        settle();
        verifyOpen(stage);
        m_service->checkFirm(QStringLiteral("KD-MX2"), QStringLiteral("1.02"));
        QVERIFY(!m_probe->firmwareBox().isVisible());
    }

private:
    QString marks() const { return m_scene->folder(QStringLiteral("marks")); }

    /// Starts the service with a package of the product, and gives the box that offers it; null without one.
    InformationBox *offered(const QString &product)
    {
        const QByteArray archive = zipFile({{setupName, installerprogram::content(marks()), true}});
        const QString package = m_scene->package(QStringLiteral("/package.zip"), archive);
        m_scene->package(QStringLiteral("/information.json"), document(product, package));
        m_service = std::make_unique<UpdateSoftware>();
        m_probe.emplace(*m_service);
        if (!QTest::qWaitFor([&] { return !m_probe->updateEntry().isEmpty(); }, patienceMs))
            return nullptr;
        m_service->checkFirm(QStringLiteral("KD-MX2"), QStringLiteral("1.02"));
        InformationBox &box = product == QStringLiteral("software") ? m_probe->softwareBox() : m_probe->firmwareBox();
        return box.isVisible() ? &box : nullptr;
    }

    bool isComplete() const { return m_probe->downloadWindow() != nullptr && m_probe->downloadBar() == nullptr; }

    void verifyOpen(int stage) const
    {
        QCOMPARE(m_probe->updateStage(), stage);
        QVERIFY(!m_service->updateOffered());
        QVERIFY(!m_probe->errorBox().isVisible());
    }

    /// What the worker was asked for is done, and what it announced is here.
    void settle() const
    {
        QMetaObject::invokeMethod(
            &m_probe->information(), [] {}, Qt::BlockingQueuedConnection);
        QCoreApplication::sendPostedEvents();
    }

    std::unique_ptr<PackageScene> m_scene;
    std::unique_ptr<ServiceLog> m_log;
    std::unique_ptr<UpdateSoftware> m_service;
    std::optional<UpdateSoftwareProbe> m_probe;
};

QTEST_MAIN(UpdateSoftwareInstallerTest)
#include "updatesoftware_installer_test.moc"
