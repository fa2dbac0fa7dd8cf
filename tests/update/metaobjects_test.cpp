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

constexpr QMetaMethod::MethodType signal = QMetaMethod::Signal;
constexpr QMetaMethod::MethodType slot = QMetaMethod::Slot;

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

/// Whoever reads the meta-objects of a program finds these two as they have always been.
class MetaObjectsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void updateInformation()
    {
        compareMethods(UpdateInformation::staticMetaObject,
                       {
                           {signal, "finishedInformation(QString)"},
                           {signal, "startedDownloadFile()"},
                           {signal, "finishedDownloadFile()"},
                           {signal, "progressValueChanged(int)"},
                           {signal, "errorDownloadFile()"},
                           {signal, "readiedExec()"},
                           {slot, "downloadInformation()"},
                           {slot, "downloadFile(QString)"},
                           {slot, "cancelDownload()"},
                           {slot, "timeoutDownload()"},
                           {slot, "execFile()"},
                           {slot, "replyFinishedInfo(QNetworkReply*)"},
                           {slot, "replyFinishedFileDownload(QNetworkReply*)"},
                           {slot, "replyFinishedUnzip(int,QProcess::ExitStatus)"},
                           {slot, "replyFinishedMount(int,QProcess::ExitStatus)"},
                           {slot, "replyDownloadProgress(qlonglong,qlonglong)"},
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
                           {signal, "readiedDownloadFile(QString)"},
                           {signal, "stopDownload()"},
                           {slot, "saveInformation(QString)"},
                           {slot, "openDownloadFileInfo()"},
                           {slot, "closeDownloadFileInfo()"},
                           {slot, "openExecWindow()"},
                           {slot, "closeExecWindow()"},
                           {slot, "decideClickedSoftware()"},
                           {slot, "decideClickedFirmware()"},
                           {slot, "decideClickedInformation()"},
                           {slot, "cancelSoftware()"},
                           {slot, "cancelFirmware()"},
                           {slot, "cancelDownload()"},
                           {slot, "showMsgBoxError()"},
                           {slot, "enableCanselButton(int)"},
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
