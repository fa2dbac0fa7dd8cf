#include "desktopidentity.h"
#include "mainwindow.h"
#include "qtsingleapplication.h"

#include <QLocale>
#include <QTranslator>

#include <tuple>

namespace {

constexpr int handOverTimeoutMs = 5000;

int runFirstInstance(QtSingleApplication &application)
{
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0.0.0"));
    setDesktopIdentity();

    QTranslator translator;
    const QString translation = QStringLiteral("translate_") + QLocale::system().name();
    // Without a translation for this language the texts stay English; an empty translator does no harm.
    std::ignore = translator.load(translation, QStringLiteral(":/Resource"));
    QCoreApplication::installTranslator(&translator);

    MainWindow window(nullptr);
    application.setActivationWindow(&window, true);

    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED // Qt 6 always uses such pixmaps and only keeps the name.
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps, true);
    QT_WARNING_POP

    window.show();
    return QApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_AUTO_SCREEN_SCALE_FACTOR", "1");
    QtSingleApplication application(argc, argv, true);
    if (application.isRunning())
        return application.sendMessage(QStringLiteral("Already App is Running!"), handOverTimeoutMs) ? 0 : 1;
    return runFirstInstance(application);
}
