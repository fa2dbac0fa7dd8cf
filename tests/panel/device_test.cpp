// The device object in a process that shows the panel: both at work in one event loop, and the unit comes and goes.

#include "mainwindow.h"
#include "qusdevice.h"

#include "realinput.h"
#include "requesting.h"
#include "storedsettings.h"
#include "usplatform.h"
#include "virtualplatform.h"

#include <QApplication>
#include <QComboBox>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

namespace {

constinit virtualunit_t unit = {};

// The transfer in which it was pulled out, some time before this program.
constexpr uint32_t transfersBefore = 1;

/// In the middle of the next transfer.
void pullOut()
{
    QCOMPARE(virtualunit_add_fault(&unit, {VIRTUALUNIT_FAULT_UNPLUG, unit.transfers, VIRTUALUNIT_FOREVER, 0}), 0);
}

void plugIn()
{
    unit.fault_count = 0;
}

/// Before main(), where the panel's own device looks for its unit: a platform on which that is not plugged in.
[[gnu::constructor(200)]] void preparePlatform()
{
    virtualunit_init(&unit);
    pullOut();
    unit.transfers = transfersBefore;
    usplatform_use(virtualplatform::with(&unit, virtualplatform::Pauses::Real));
}

/// The unit is this thread's while the worker has nothing to do: an announcement is the last of each exchange.
uint16_t versionNow(QUSDevice &device)
{
    QSignalSpy announced(&device, &QUSDevice::sig_recv_version);
    device.request_version();
    if (!announced.wait())
        qFatal("Nothing was announced.");
    return announced.constLast().constFirst().value<uint16_t>();
}

void choose(const MainWindow &window, const QString &samples)
{
    auto *const box = window.findChild<QComboBox *>(QStringLiteral("cb_bufferSizeValue"));
    const int wanted = box->findText(samples, Qt::MatchEndsWith);
    box->setFocus();
    while (box->currentIndex() != wanted) {
        const int before = box->currentIndex();
        realinput::key(before < wanted ? QStringLiteral("Down") : QStringLiteral("Up"));
        QTRY_VERIFY(box->currentIndex() != before);
    }
}

} // namespace

class DeviceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
        stored::clear();
        stored::writeReminder(false);
        stored::writeDriver(QStringLiteral("256"), QStringLiteral("18"));
    }

    void init()
    {
        m_window = std::make_unique<MainWindow>();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }

    void cleanup() { m_window.reset(); }

    /// Nothing but that: the window asks nothing of the unit.
    void thePanelsOwnDeviceHasLookedForTheUnit() { QCOMPARE(unit.transfers, transfersBefore + 1); }

    void aUnitPluggedInLaterIsPickedUpByTheNextTransfer()
    {
        // Beside the panel's own, which has nothing to say to the unit.
        QUSDevice device;
        QCOMPARE(versionNow(device), uint16_t(0));
        choose(*m_window, QStringLiteral(" 512 Samples"));
        QCOMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("512"));

        plugIn();
        requestEverything(&device);
        QCOMPARE(awaitEverything(&device), 0);
        QCOMPARE(virtualunit_strip(&unit, USMSG_DATA_CH_DIRECTMONITOR_OUT, 1)->fader, 99);
        QCOMPARE(unit.autopowersave, 1);

        choose(*m_window, QStringLiteral("1024 Samples"));
        QCOMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("1024"));
    }

    void aUnitThatIsPulledOutIsMissedAndFoundAgain()
    {
        plugIn();
        QUSDevice device;
        QSignalSpy name(&device, &QUSDevice::sig_recv_productname);
        device.request_version();
        QTRY_VERIFY(!name.isEmpty() && name.constLast().constFirst().toString().startsWith(QStringLiteral("KD-MX")));

        pullOut();
        QCOMPARE(versionNow(device), uint16_t(0));
        choose(*m_window, QStringLiteral(" 128 Samples"));
        QCOMPARE(stored::driverValue(QStringLiteral("blockFrames")), QStringLiteral("128"));

        plugIn();
        QTRY_COMPARE(versionNow(device), unit.version);
    }

private:
    std::unique_ptr<MainWindow> m_window;
};

QTEST_MAIN(DeviceTest)
#include "device_test.moc"
