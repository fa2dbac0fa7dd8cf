// A stand-in for the Windows script host, for tests of code that unpacks a ZIP archive with it. It takes the script for
// what it is meant to do, unpacks for real, and can misbehave in every way that a script host may.
//
//   cscript SCRIPT ARCHIVE FOLDER      paths in backslash form
//
// KDMX_CSCRIPT_RECORD  a file: what the host was given, as a JSON object, before it does anything
// KDMX_CSCRIPT_MODE    "wait" unpacks when the file $KDMX_CSCRIPT_RECORD.go is there; "hang" does nothing and goes on;
//                      "crash" ends like a program that crashes; "nothing" unpacks nothing; "fail" unpacks and ends
//                      with 7; "real" hands everything over to the host in $KDMX_CSCRIPT_REAL, notes what that says in
//                      $KDMX_CSCRIPT_RECORD.said, and ends with its exit code

#include "hostends.h"
#include "hostrecord.h"
#include "unpack.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QThread>

#include <cstdio>

namespace {

constexpr unsigned long pollMs = 5;
constexpr int wrongArguments = 2;
constexpr int failure = 7;

QString slashed(const QString &path)
{
    return QString(path).replace(u'\\', u'/');
}

void waitForGo()
{
    const QString go = HostRecord::fileName() + QStringLiteral(".go");
    while (!QFile::exists(go))
        QThread::msleep(pollMs);
}

int runReal(const QStringList &arguments)
{
    QProcess host;
    host.setProcessChannelMode(QProcess::MergedChannels);
    host.setStandardOutputFile(HostRecord::fileName() + QStringLiteral(".said"));
    host.start(qEnvironmentVariable("KDMX_CSCRIPT_REAL"), arguments);
    return host.waitForFinished() ? host.exitCode() : failure;
}

} // namespace

int main(int argc, char *argv[])
{
    hostends::endWithParent();
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    HostRecord::write(arguments);
    if (arguments.size() != 3) {
        std::fputs("cscript: expected a script, an archive and a folder\n", stderr);
        return wrongArguments;
    }

    const QString mode = qEnvironmentVariable("KDMX_CSCRIPT_MODE");
    if (mode == QStringLiteral("hang"))
        hostends::hang();
    if (mode == QStringLiteral("crash"))
        hostends::crash();
    if (mode == QStringLiteral("real"))
        return runReal(arguments);
    if (mode == QStringLiteral("nothing"))
        return 0;
    if (mode == QStringLiteral("wait"))
        waitForGo();
    if (!unpack(slashed(arguments[1]), QDir(slashed(arguments[2]))))
        return 1;
    return mode == QStringLiteral("fail") ? failure : 0;
}
