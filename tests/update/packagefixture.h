#pragma once

#include "debuglines.h"
#include "packagescene.h"
#include "packageservice.h"

#include <QObject>

#include <memory>

/// What the tests of a package's way begin with: for each case a scene of its own, and in it the service, which has
/// fetched its document. Its lines so far are taken.
class PackageFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

protected:
    std::unique_ptr<DebugLines> m_lines;
    std::unique_ptr<PackageScene> m_scene;
    std::unique_ptr<PackageService> m_service;
};
