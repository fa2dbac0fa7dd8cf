#pragma once

#include "probeprocess.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

class QtSingleApplication;

/// What the tests of QtSingleApplication begin with: the application of the test's own process, and for each case a
/// runtime folder for probes.
class ProbeFixture : public QObject
{
    Q_OBJECT

public:
    /// No test waits that long when it passes.
    static constexpr int patience = 40000;

    explicit ProbeFixture(QtSingleApplication &application);

    /// The template of a folder whose path is short enough for a socket.
    static QString temporaryFolder();

private Q_SLOTS:
    void initTestCase();
    void init();

protected:
    using Probe = std::unique_ptr<ProbeProcess>;

    static QString idOf(const QString &program);

    Probe start(const QStringList &arguments = {}, const QString &program = ProbeProcess::program()) const;

    /// Starts one that becomes the first process, and waits until it is.
    Probe startFirst(const QString &program = ProbeProcess::program()) const;

    QtSingleApplication &m_application;
    QString m_ownRuntime;
    std::unique_ptr<QTemporaryDir> m_runtime;
};
