#pragma once

#include <QObject>
#include <QString>
#include <QTemporaryDir>

#include <memory>

/// What the tests of a settings file begin with: for each case a folder of its own, and the path of a file in it.
class SettingsFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

protected:
    /// Saves a value as the program does. One that waits for a lock waits half a minute and more; the tests' own time
    /// limit stands well below that.
    static void save(const QString &fileName, const QString &name, const QString &value);

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_file;
};
