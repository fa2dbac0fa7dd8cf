#pragma once

#include <QDesktopServices>
#include <QObject>
#include <QStringList>
#include <QUrl>

/**
 * Stands in for the desktop's web browser, and for whatever else it opens addresses with, and records what it is asked
 * to open. One at a time, in the GUI thread.
 */
class WebBrowser : public QObject
{
    Q_OBJECT

public:
    WebBrowser()
    {
        for (const QString &scheme : schemes)
            QDesktopServices::setUrlHandler(scheme, this, "open");
    }

    ~WebBrowser() override
    {
        for (const QString &scheme : schemes)
            QDesktopServices::unsetUrlHandler(scheme);
    }

    Q_DISABLE_COPY_MOVE(WebBrowser)

    QStringList opened;

public Q_SLOTS:
    void open(const QUrl &url) { opened += url.toString(); }

private:
    // The empty one is that of a relative address.
    const QStringList schemes = {QStringLiteral("https"),  QStringLiteral("http"),       QStringLiteral("file"),
                                 QStringLiteral("mailto"), QStringLiteral("javascript"), QString()};
};
