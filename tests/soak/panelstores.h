#pragma once

#include <QString>
#include <QStringList>

/**
 * The panel's two settings files as a killed panel has left them, judged without QSettings. Nobody may write them
 * meanwhile.
 */
namespace panelstores {

/// What the driver's and the panel's file hold; a null text where there is no value.
struct Content
{
    QString blockFrames;
    QString sampleType;
    QString driverReminder;
    QString panelReminder;

    bool operator==(const Content &other) const = default;
};

Content content();

/// A content in words, for messages.
QString toText(const Content &content);

/// What is wrong with the files themselves: a line that is none of theirs, a value twice, an end in mid-line, a copy
/// that was set aside, a file that nobody knows. Empty if nothing is.
QString damage();

/// What a save that was killed has left beside the files: locks, and temporary files.
QStringList locks();
QStringList temporaryFiles();

} // namespace panelstores
