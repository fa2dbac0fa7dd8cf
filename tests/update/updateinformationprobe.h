#pragma once

#include "updateinformation.h"

/// What tests see and shorten of an UpdateInformation. To be used in the object's thread.
class UpdateInformationProbe
{
public:
    static void setSilenceLimit(int milliseconds) { UpdateInformation::silenceLimitMs = milliseconds; }
    static int silenceLimit() { return UpdateInformation::silenceLimitMs; }
    static void setLargestPackage(qint64 bytes) { UpdateInformation::largestPackage = bytes; }
    static void setLargestDocument(qint64 bytes) { UpdateInformation::largestDocument = bytes; }
    static qint64 largestDocument() { return UpdateInformation::largestDocument; }
    static qint64 largestPackage() { return UpdateInformation::largestPackage; }

    static QTimer *timer(const UpdateInformation &information) { return information.timer; }
    static QNetworkReply *reply(const UpdateInformation &information) { return information.reply; }
    static QNetworkAccessManager *manager(const UpdateInformation &information) { return information.manager; }
    static QTemporaryDir *tempDir(const UpdateInformation &information) { return information.tempDir; }
    static QProcess &process(UpdateInformation &information) { return information.process; }
    static bool timedOut(const UpdateInformation &information) { return information.timedOut; }
    static bool isExe(const UpdateInformation &information) { return information.isExe; }
    static bool isDmg(const UpdateInformation &information) { return information.isDmg; }
    static QString execPath(const UpdateInformation &information) { return information.execPath; }
    static void setExecPath(UpdateInformation &information, const QString &path) { information.execPath = path; }
};
