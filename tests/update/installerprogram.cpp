#include "installerprogram.h"

#include "filecontent.h"

#include <QDir>
#include <QTest>

namespace installerprogram {

QStringList note(const QString &marks)
{
    constexpr int patienceMs = 30'000;
    constexpr qsizetype lines = 3;
    QByteArray text;
    const bool isWhole = QTest::qWaitFor(
        [&] { return (text = contentOf(marks + QStringLiteral("/begun"))).count('\n') >= lines; }, patienceMs);
    return isWhole ? QDir::fromNativeSeparators(QString::fromUtf8(text)).split(u'\n', Qt::SkipEmptyParts)
                   : QStringList();
}

} // namespace installerprogram
