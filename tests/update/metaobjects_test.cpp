#include "updateinformation.h"
#include "updatesoftware.h"

#include <QMetaMethod>
#include <QTest>

namespace {

struct Method
{
    QMetaMethod::MethodType type;
    QByteArray signature;
};

constexpr QMetaMethod::MethodType signalType = QMetaMethod::Signal;
constexpr QMetaMethod::MethodType slotType = QMetaMethod::Slot;

void compareMethods(const QMetaObject &metaObject, const QList<Method> &expected)
{
    QCOMPARE(metaObject.methodCount() - metaObject.methodOffset(), expected.size());
    for (int i = 0; i < expected.size(); ++i) {
        const QMetaMethod method = metaObject.method(metaObject.methodOffset() + i);
        QCOMPARE(method.methodSignature(), expected[i].signature);
        QCOMPARE(method.methodType(), expected[i].type);
        QCOMPARE(method.access(), QMetaMethod::Public);
        QCOMPARE(method.returnType(), int(QMetaType::Void));
    }
}

QList<QByteArray> parameterNames(const QMetaObject &metaObject, const char *signature)
{
    return metaObject.method(metaObject.indexOfMethod(signature)).parameterNames();
}

} // namespace

/// Code that reads the meta-objects of a program finds these two as they have always been.
class MetaObjectsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void updateInformation()
    {
        compareMethods(UpdateInformation::staticMetaObject,
                       {
                           {signalType, "finishedInformation(QString)"},
                           {signalType, "startedDownloadFile()"},
                           {signalType, "finishedDownloadFile()"},
                           {signalType, "progressValueChanged(int)"},
                           {signalType, "errorDownloadFile()"},
                           {signalType, "readiedExec()"},
                           {slotType, "downloadInformation()"},
                           {slotType, "downloadFile(QString)"},
                           {slotType, "cancelDownload()"},
                           {slotType, "timeoutDownload()"},
                           {slotType, "execFile()"},
                           {slotType, "replyFinishedInfo(QNetworkReply*)"},
                           {slotType, "replyFinishedFileDownload(QNetworkReply*)"},
                           {slotType, "replyFinishedUnzip(int,QProcess::ExitStatus)"},
                           {slotType, "replyFinishedMount(int,QProcess::ExitStatus)"},
                           {slotType, "replyDownloadProgress(qlonglong,qlonglong)"},
                       });
    }

    void parametersOfUpdateInformation()
    {
        const QMetaObject &metaObject = UpdateInformation::staticMetaObject;
        QCOMPARE(parameterNames(metaObject, "replyFinishedInfo(QNetworkReply*)"), QList<QByteArray>({"reply"}));
        QCOMPARE(parameterNames(metaObject, "replyDownloadProgress(qlonglong,qlonglong)"),
                 QList<QByteArray>({"received", "total"}));
        for (const char *const unnamed :
             {"replyFinishedUnzip(int,QProcess::ExitStatus)", "replyFinishedMount(int,QProcess::ExitStatus)"})
            QCOMPARE(parameterNames(metaObject, unnamed), QList<QByteArray>({QByteArray(), QByteArray()}));
        QCOMPARE(parameterNames(metaObject, "replyFinishedFileDownload(QNetworkReply*)"),
                 QList<QByteArray>({QByteArray()}));
    }

    void updateSoftware()
    {
        compareMethods(UpdateSoftware::staticMetaObject,
                       {
                           {signalType, "readiedDownloadFile(QString)"},
                           {signalType, "stopDownload()"},
                           {slotType, "saveInformation(QString)"},
                           {slotType, "openDownloadFileInfo()"},
                           {slotType, "closeDownloadFileInfo()"},
                           {slotType, "openExecWindow()"},
                           {slotType, "closeExecWindow()"},
                           {slotType, "decideClickedSoftware()"},
                           {slotType, "decideClickedFirmware()"},
                           {slotType, "decideClickedInformation()"},
                           {slotType, "cancelSoftware()"},
                           {slotType, "cancelFirmware()"},
                           {slotType, "cancelDownload()"},
                           {slotType, "showMsgBoxError()"},
                           {slotType, "enableCanselButton(int)"},
                       });
    }

    void nothingElse()
    {
        for (const QMetaObject *const metaObject :
             {&UpdateInformation::staticMetaObject, &UpdateSoftware::staticMetaObject}) {
            QCOMPARE(metaObject->superClass(), &QObject::staticMetaObject);
            QCOMPARE(metaObject->propertyCount(), QObject::staticMetaObject.propertyCount());
            QCOMPARE(metaObject->enumeratorCount(), QObject::staticMetaObject.enumeratorCount());
        }
    }
};

QTEST_GUILESS_MAIN(MetaObjectsTest)
#include "metaobjects_test.moc"
