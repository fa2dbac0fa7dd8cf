#include "packagefixture.h"

#include <QRegularExpression>
#include <QTest>

void PackageFixture::init()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
    m_lines = std::make_unique<DebugLines>();
    m_scene = std::make_unique<PackageScene>();
    m_service = std::make_unique<PackageService>();
    QVERIFY(m_service->fetch());
    DebugLines::take();
}

void PackageFixture::cleanup()
{
    m_service.reset();
    m_scene.reset();
    m_lines.reset();
}
