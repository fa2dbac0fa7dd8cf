#include "screenshots.h"

#include <QDir>
#include <QTest>
#include <QWidget>

void saveScreenshot(QWidget *widget, const QString &name)
{
    const QDir folder(qEnvironmentVariable("KDMX_SCREENSHOTS"));
    QVERIFY(QDir().mkpath(folder.path()));
    QVERIFY(widget->grab().save(folder.filePath(name + QStringLiteral(".png"))));
}
