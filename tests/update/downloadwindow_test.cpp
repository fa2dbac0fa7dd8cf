#include "downloadwindow.h"

#include "mousereleases.h"
#include "realinput.h"

#include <QImage>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

using downloadwindow::Parts;

/// Texts that say which they are.
UpdateTextRow numberedTexts()
{
    UpdateTextRow texts;
    for (size_t field = 0; field < texts.size(); ++field)
        texts.at(field) = QStringLiteral("text %1").arg(field);
    return texts;
}

void compareWindow(const QWidget &window)
{
    QVERIFY(window.parent() == nullptr);
    QVERIFY(!window.isVisible());
    QCOMPARE(window.minimumSize(), QSize(250, 100));
    QCOMPARE(window.maximumSize(), QSize(250, 100));
    QCOMPARE(window.styleSheet(),
             QStringLiteral("color: white; background-image: url(:/Resource/update/Download_250x100.png)"));
    QCOMPARE(window.windowTitle(), QStringLiteral("text 5"));
    // The last one is what Qt adds to whatever has no parent.
    QCOMPARE(window.windowFlags(),
             Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::Window);
}

void compareLabel(const QWidget &window, const QString &text)
{
    const auto labels = window.findChildren<QLabel *>();
    QCOMPARE(labels.size(), 1);
    QCOMPARE(labels.first()->text(), text);
    QCOMPARE(labels.first()->styleSheet(),
             QStringLiteral("color: white; background-image: url(:/Resource/trans.png);"));
    QCOMPARE(labels.first()->font().pointSize(), 11);
    QCOMPARE(labels.first()->geometry(), QRect(10, 10, 230, 20));
}

void compareButton(const Parts &parts, const QString &text)
{
    QCOMPARE(parts.window->findChildren<QPushButton *>(), QList<QPushButton *>{parts.button});
    QCOMPARE(parts.button->text(), text);
    QCOMPARE(parts.button->styleSheet(), QStringLiteral("color: black; background-image: url(:/Resource/trans.png);"));
    QCOMPARE(parts.button->minimumHeight(), 20);
    QCOMPARE(parts.button->geometry(), QRect(140, 70, 100, 20));
}

/// A column of the screen at the left edge of the window, where nothing but the background is.
QImage leftEdge(const QWidget &window)
{
    const QImage image = window.screen()->grabWindow(window.winId()).toImage();
    return image.convertToFormat(QImage::Format_RGB32).copy(0, 0, 8, 100);
}

} // namespace

class DownloadWindowTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral(".*"))); }

    void progress()
    {
        const Parts parts = downloadwindow::createProgress(numberedTexts());
        const std::unique_ptr<QWidget> window(parts.window);
        compareWindow(*window);
        compareLabel(*window, QStringLiteral("text 12"));
        compareButton(parts, QStringLiteral("text 1"));
        QVERIFY(!parts.button->isEnabled());
        QCOMPARE(window->findChildren<QProgressBar *>(), QList<QProgressBar *>{parts.bar});
        QCOMPARE(parts.bar->minimum(), 0);
        QCOMPARE(parts.bar->maximum(), 100);
        QCOMPARE(parts.bar->value(), 0);
        QCOMPARE(parts.bar->geometry(), QRect(10, 40, 230, 20));
    }

    void completion()
    {
        const Parts parts = downloadwindow::createCompletion(numberedTexts());
        const std::unique_ptr<QWidget> window(parts.window);
        compareWindow(*window);
        compareLabel(*window, QStringLiteral("text 13"));
        compareButton(parts, QStringLiteral("text 0"));
        QVERIFY(parts.button->isEnabled());
        QCOMPARE(parts.bar, nullptr);
        QVERIFY(window->findChildren<QProgressBar *>().isEmpty());
    }

    void geometryStaysWhenShown()
    {
        const Parts parts = downloadwindow::createProgress(numberedTexts());
        const std::unique_ptr<QWidget> window(parts.window);
        window->show();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        window->resize(400, 400);
        QCOMPARE(window->size(), QSize(250, 100));
        compareLabel(*window, QStringLiteral("text 12"));
        compareButton(parts, QStringLiteral("text 1"));
        QCOMPARE(parts.bar->geometry(), QRect(10, 40, 230, 20));
    }

    void pictureIsTheBackground()
    {
        const Parts parts = downloadwindow::createProgress(numberedTexts());
        const std::unique_ptr<QWidget> window(parts.window);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        const QImage picture(QStringLiteral(":/Resource/update/Download_250x100.png"));
        QCOMPARE(picture.size(), window->size());
        QTRY_COMPARE(leftEdge(*window), picture.convertToFormat(QImage::Format_RGB32).copy(0, 0, 8, 100));
    }

    void disabledButtonTakesNoClick()
    {
        const Parts parts = downloadwindow::createProgress(numberedTexts());
        const std::unique_ptr<QWidget> window(parts.window);
        const QSignalSpy clicked(parts.button, &QPushButton::clicked);
        Releases releases;
        parts.button->installEventFilter(&releases);
        window->show();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        realinput::click(parts.button);
        // Not before the click has arrived: it would count for the enabled button.
        QTRY_COMPARE(releases.count, 1);
        parts.button->setEnabled(true);
        realinput::click(parts.button);
        QTRY_COMPARE(clicked.count(), 1);
    }

    void unknownProgressLeavesTheBarAlone()
    {
        const Parts parts = downloadwindow::createProgress(numberedTexts());
        const std::unique_ptr<QWidget> window(parts.window);
        parts.bar->setValue(-12300);
        QCOMPARE(parts.bar->value(), 0);
        parts.bar->setValue(100);
        QCOMPARE(parts.bar->value(), 100);
    }
};

QTEST_MAIN(DownloadWindowTest)
#include "downloadwindow_test.moc"
