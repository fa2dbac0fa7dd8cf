#include "rounds.h"

#include <QFile>
#include <QTest>

namespace rounds {

namespace {

/// Into the script's file, line by line: a program that dies has told what it did before.
void tell(const QByteArray &line)
{
    QFile tally(qEnvironmentVariable("KDMX_SOAK_TALLY"));
    if (tally.fileName().isEmpty())
        return;
    if (!tally.open(QIODevice::Append) || tally.write(line + '\n') <= 0)
        qWarning("The tally cannot be written.");
}

int fromEnvironment(const char *name, int unlessTold)
{
    return qEnvironmentVariableIsSet(name) ? qEnvironmentVariableIntValue(name) : unlessTold;
}

} // namespace

void add(int unlessTold)
{
    QTest::addColumn<uint>("seed");
    const int first = fromEnvironment("KDMX_SOAK_SEED", 1);
    const int count = fromEnvironment("KDMX_SOAK_ROUNDS", unlessTold);
    QVERIFY(first > 0 && count > 0);
    for (int seed = first; seed < first + count; ++seed)
        QTest::addRow("seed %d", seed) << static_cast<uint>(seed);
}

void begin(unsigned int seed)
{
    tell("seed\t" + QByteArray::number(seed));
}

void count(const char *what, qsizetype times)
{
    tell(QByteArray("count\t") + what + '\t' + QByteArray::number(times));
}

QString sanitizerReport(const QString &errorOutput)
{
    for (const char *const word : {"Sanitizer", "runtime error:"}) {
        if (errorOutput.contains(QLatin1String(word)))
            return errorOutput;
    }
    return {};
}

} // namespace rounds
