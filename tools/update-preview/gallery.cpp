#include "gallery.h"

#include "cuttexts.h"
#include "feedfile.h"
#include "galleryfeed.h"
#include "galleryindex.h"
#include "informationbox.h"
#include "interrupts.h"
#include "languages.h"
#include "output.h"
#include "servicewindows.h"
#include "updatesoftware.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QProgressBar>
#include <QSaveFile>
#include <QTextDocumentFragment>
#include <QTimer>

namespace {

constexpr int shownPercent = 42;

/// All that can be read in a window, from its top to its bottom.
QString textsOf(const QWidget &window)
{
    QStringList texts;
    for (const QTextBrowser *const field : window.findChildren<QTextBrowser *>())
        texts.append(field->toPlainText());
    for (const QLabel *const label : window.findChildren<QLabel *>())
        texts.append(QTextDocumentFragment::fromHtml(label->text()).toPlainText());
    for (const QProgressBar *const bar : window.findChildren<QProgressBar *>())
        texts.append(bar->text());
    for (const QAbstractButton *const button : window.findChildren<QAbstractButton *>()) {
        if (button->isVisibleTo(&window))
            texts.append(u'[' + button->text().remove(u'&') + u']');
    }
    texts.removeAll(QString());
    return texts.join(u' ').simplified();
}

/// The pictures of one language.
class Photographer
{
public:
    Photographer(const QDir &folder, QLocale::Language language)
        : m_folder(folder)
        , m_language(language)
    {
    }

    /// Draws a window; nothing if there is none.
    void take(QWidget *window, const QString &kind)
    {
        if (window == nullptr)
            return;
        const QPixmap pixmap = window->grab();
        const QString id = languages::code(m_language) + u'-' + kind.toLower().replace(u' ', u'-');
        const QString fileName = id + QStringLiteral(".png");
        m_hasFailed = !pixmap.save(m_folder.filePath(fileName)) || m_hasFailed;
        m_pictures.append({m_language, kind, id, fileName, window->windowTitle(), textsOf(*window), cutTexts(*window),
                           pixmap.deviceIndependentSize().toSize()});
    }

    QList<Picture> pictures() const { return m_pictures; }
    bool hasFailed() const { return m_hasFailed; }

private:
    QDir m_folder;
    QLocale::Language m_language;
    QList<Picture> m_pictures;
    bool m_hasFailed = false;
};

/// The window on the screen that is no information box.
QWidget *smallWindow()
{
    for (QWidget *const window : servicewindows::shown()) {
        if (qobject_cast<InformationBox *>(window) == nullptr)
            return window;
    }
    return nullptr;
}

void takeError(UpdateSoftware *service, Photographer *photographer)
{
    // The box returns only when it is closed.
    QTimer::singleShot(0, service, [photographer] {
        QWidget *const box = QApplication::activeModalWidget();
        photographer->take(box, QStringLiteral("Error"));
        box->close();
    });
    service->showMsgBoxError();
}

/// Leads the service through all its windows.
void takeAll(const GalleryFeed &feed, Photographer *photographer)
{
    UpdateSoftware service;
    service.saveInformation(feed.json);
    photographer->take(servicewindows::offer(), QStringLiteral("Program offer"));
    QWidget *const news = servicewindows::news();
    service.cancelSoftware();
    service.checkFirm(feed.unit, feed.firmware);
    photographer->take(servicewindows::offer(), QStringLiteral("Firmware offer"));
    service.cancelFirmware();
    photographer->take(news, QStringLiteral("News"));
    service.decideClickedInformation();

    service.openDownloadFileInfo();
    QWidget *const progress = smallWindow();
    progress->findChild<QProgressBar *>()->setValue(shownPercent);
    service.enableCanselButton(shownPercent);
    photographer->take(progress, QStringLiteral("Progress"));
    service.closeDownloadFileInfo();
    service.openExecWindow();
    photographer->take(smallWindow(), QStringLiteral("Completion"));
    service.closeExecWindow();
    takeError(&service, photographer);
}

bool writeFile(const QString &fileName, const QString &text)
{
    QSaveFile file(fileName);
    return file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit();
}

QString summary(const QList<Picture> &pictures, const QString &index)
{
    QString text = QStringLiteral("%1 pictures: %2\n").arg(pictures.size()).arg(QDir::toNativeSeparators(index));
    for (const Picture &picture : pictures) {
        for (const QString &cut : picture.cutTexts)
            text += QStringLiteral("cut: %1: %2\n").arg(picture.fileName, QString(cut).replace(u'\n', u' '));
    }
    return text;
}

ExitCode render(const QDir &folder, const GalleryFeed &feed, const QString &source)
{
    QList<Picture> pictures;
    bool hasFailed = false;
    for (const QLocale::Language language : languages::ofTheService()) {
        if (interrupts::haveCome())
            return ExitCode::Interrupted;
        QLocale::setDefault(QLocale(language));
        Photographer photographer(folder, language);
        takeAll(feed, &photographer);
        pictures += photographer.pictures();
        hasFailed = hasFailed || photographer.hasFailed();
    }
    const QString index = folder.filePath(QStringLiteral("index.html"));
    if (hasFailed || !writeFile(index, galleryIndex(pictures, source))) {
        output::writeError(
            QStringLiteral("Not all files could be written to %1.").arg(QDir::toNativeSeparators(folder.path())));
        return ExitCode::Failed;
    }
    return output::writeResult(summary(pictures, index)) ? ExitCode::Done : ExitCode::Failed;
}

} // namespace

ExitCode renderGallery(const QString &folderName, const QString &feedFile)
{
    QJsonDocument own;
    if (!feedFile.isEmpty()) {
        const feedfile::Content content = feedfile::read(feedFile);
        const feedfile::Parsed parsed = feedfile::parse(content.bytes);
        const QString error = content.error.isEmpty() && !parsed.error.isEmpty()
            ? QStringLiteral("%1 is %2.").arg(QDir::toNativeSeparators(feedFile), parsed.error)
            : content.error;
        if (!error.isEmpty()) {
            output::writeError(error);
            return ExitCode::BadArgument;
        }
        own = parsed.document;
    }
    const QDir folder(folderName);
    if (!folder.mkpath(QStringLiteral("."))) {
        output::writeError(QStringLiteral("The folder %1 cannot be made.").arg(QDir::toNativeSeparators(folderName)));
        return ExitCode::BadArgument;
    }
    const QString source = feedFile.isEmpty() ? QStringLiteral("an example") : QFileInfo(feedFile).fileName();
    return render(QDir(folder.absolutePath()), galleryFeed(own), source);
}
