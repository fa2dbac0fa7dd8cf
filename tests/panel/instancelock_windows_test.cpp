// The lock as a mutex.

#include "instancelock.h"

#include <QRegularExpression>
#include <QTest>

#include <memory>

#include <windows.h>

#include <sddl.h>

using Result = InstanceLock::Result;

namespace {

const QString name = QStringLiteral("Local\\kdmx-instancelock-test");

struct CloseHandleLater
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

using Handle = std::unique_ptr<void, CloseHandleLater>;

Handle makeMutexThatNobodyMayOpen()
{
    SECURITY_ATTRIBUTES attributes = {sizeof(attributes), nullptr, FALSE};
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(D;;GA;;;WD)", SDDL_REVISION_1,
                                                              &attributes.lpSecurityDescriptor, nullptr))
        return nullptr;
    Handle mutex(CreateMutexW(&attributes, TRUE, name.toStdWString().c_str()));
    LocalFree(attributes.lpSecurityDescriptor);
    return mutex;
}

} // namespace

class InstanceLockWindowsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral(".*"))); }

    // What a panel that runs elevated looks like to one that does not.
    void mutexThatMayNotBeOpenedIsHeld()
    {
        const Handle mutex = makeMutexThatNobodyMayOpen();
        QVERIFY(mutex != nullptr);
        InstanceLock lock(name);
        QCOMPARE(lock.tryLock(), Result::HeldByOther);
        QVERIFY(!lock.isFree());
        QCOMPARE(lock.errorText(), QString());
    }

    void mutexThatNobodyOwnsIsFree()
    {
        const Handle mutex(CreateMutexW(nullptr, FALSE, name.toStdWString().c_str()));
        QVERIFY(mutex != nullptr);
        InstanceLock lock(name);
        QVERIFY(lock.isFree());
        QCOMPARE(lock.tryLock(), Result::Locked);
    }

    void nothingStaysBehind()
    {
        {
            InstanceLock lock(name);
            QCOMPARE(lock.tryLock(), Result::Locked);
        }
        QCOMPARE(OpenMutexW(SYNCHRONIZE, FALSE, name.toStdWString().c_str()), nullptr);
        QCOMPARE(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    }

    void nameThatIsTakenBySomethingElse()
    {
        const Handle event(CreateEventW(nullptr, FALSE, FALSE, name.toStdWString().c_str()));
        QVERIFY(event != nullptr);
        failsAndSaysWhy(name);
    }

    void nameThatCannotBe() { failsAndSaysWhy(QStringLiteral("Local\\no\\such\\folder")); }

private:
    static void failsAndSaysWhy(const QString &lockName)
    {
        InstanceLock lock(lockName);
        QCOMPARE(lock.tryLock(), Result::Failed);
        QVERIFY2(lock.errorText().startsWith(lockName + QStringLiteral(": ")), qPrintable(lock.errorText()));
        QVERIFY(!lock.isFree());
    }
};

QTEST_APPLESS_MAIN(InstanceLockWindowsTest)
#include "instancelock_windows_test.moc"
