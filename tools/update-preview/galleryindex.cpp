#include "galleryindex.h"

#include "identity.h"
#include "languages.h"

#include <QFile>
#include <QSysInfo>

#include <algorithm>

namespace {

// Half the size, and narrow enough for six beside each other.
constexpr int thumbnailWidth = 190;
constexpr int thumbnailShare = 2;

QString escaped(const QString &text)
{
    return text.toHtmlEscaped();
}

QString style()
{
    QFile file(QStringLiteral(":/update-preview/gallery.css"));
    file.open(QIODevice::ReadOnly);
    return QString::fromUtf8(file.readAll());
}

QString lang(const Picture &picture)
{
    return languages::code(picture.language);
}

QString image(const Picture &picture, const QSize &size, const QString &alt, const QString &altLanguage)
{
    return QStringLiteral("<img src=\"%1\" width=\"%2\" height=\"%3\" lang=\"%4\" alt=\"%5\" loading=\"lazy\">")
        .arg(picture.fileName)
        .arg(size.width())
        .arg(size.height())
        .arg(altLanguage, escaped(alt));
}

/// In the order of their first appearance.
QStringList kindsOf(const QList<Picture> &pictures)
{
    QStringList kinds;
    for (const Picture &picture : pictures)
        kinds.append(picture.kind);
    kinds.removeDuplicates();
    return kinds;
}

QList<QLocale::Language> languagesOf(const QList<Picture> &pictures)
{
    QList<QLocale::Language> found;
    for (const Picture &picture : pictures) {
        if (!found.contains(picture.language))
            found.append(picture.language);
    }
    return found;
}

QString heading(QLocale::Language language)
{
    const QString name = languages::name(language);
    const QString ownName = languages::ownName(language);
    const QString own = QStringLiteral(" <span lang=\"%1\">%2</span>").arg(languages::code(language), escaped(ownName));
    return escaped(name) + (name == ownName ? QString() : own);
}

QString cell(const QList<Picture> &pictures, QLocale::Language language, const QString &kind)
{
    const auto picture = std::find_if(pictures.begin(), pictures.end(), [&](const Picture &candidate) {
        return candidate.language == language && candidate.kind == kind;
    });
    if (picture == pictures.end())
        return QStringLiteral("<td>none</td>\n");
    const int width = std::min(thumbnailWidth, picture->size.width() / thumbnailShare);
    const QSize size(width, picture->size.height() * width / picture->size.width());
    const QString alt = picture->kind + QStringLiteral(" in ") + languages::name(language);
    const QString mark = picture->cutTexts.isEmpty() ? QString() : QStringLiteral("<strong>text cut</strong>");
    return QStringLiteral("<td><a href=\"#%1\">%2%3</a></td>\n")
        .arg(picture->id, image(*picture, size, alt, QStringLiteral("en")), mark);
}

QString table(const QList<Picture> &pictures)
{
    QString html =
        QStringLiteral("<div class=\"overview\" role=\"region\" aria-labelledby=\"overview\" tabindex=\"0\">\n"
                       "<table>\n<caption id=\"overview\">All windows; each picture leads to its full "
                       "size</caption>\n<thead><tr><th scope=\"col\">Language</th>");
    const QStringList kinds = kindsOf(pictures);
    for (const QString &kind : kinds)
        html += QStringLiteral("<th scope=\"col\">%1</th>").arg(escaped(kind));
    html += QStringLiteral("</tr></thead>\n<tbody>\n");
    for (const QLocale::Language language : languagesOf(pictures)) {
        html += QStringLiteral("<tr><th scope=\"row\"><a href=\"#%1\">%2</a></th>\n")
                    .arg(languages::code(language), heading(language));
        for (const QString &kind : kinds)
            html += cell(pictures, language, kind);
        html += QStringLiteral("</tr>\n");
    }
    return html + QStringLiteral("</tbody>\n</table>\n</div>\n");
}

QString cutNote(const Picture &picture)
{
    QString html;
    for (const QString &text : picture.cutTexts)
        html += QStringLiteral("<p class=\"cut\">Does not fit: <q lang=\"%1\">%2</q></p>")
                    .arg(lang(picture), escaped(text));
    return html;
}

/// The window as it stands on a screen, with a title bar drawn by the page.
QString figure(const Picture &picture)
{
    return QStringLiteral(
               "<figure id=\"%1\">\n<div class=\"window\" style=\"width:%2px\"><p class=\"title\" "
               "lang=\"%3\">%4</p>%5</div>\n<figcaption>%6, <a href=\"%7\">%7</a>%8</figcaption>\n</figure>\n")
        .arg(picture.id)
        .arg(picture.size.width())
        .arg(lang(picture), escaped(picture.title), image(picture, picture.size, picture.texts, lang(picture)),
             escaped(picture.kind), picture.fileName, cutNote(picture));
}

QString section(const QList<Picture> &pictures, QLocale::Language language)
{
    QString html = QStringLiteral("<section aria-labelledby=\"%1\">\n<h2 id=\"%1\">%2</h2>\n<div class=\"windows\">\n")
                       .arg(languages::code(language), heading(language));
    for (const Picture &picture : pictures) {
        if (picture.language == language)
            html += figure(picture);
    }
    return html + QStringLiteral("</div>\n</section>\n");
}

QString introduction(const QList<Picture> &pictures, const QString &source)
{
    const auto cut = std::count_if(pictures.begin(), pictures.end(),
                                   [](const Picture &picture) { return !picture.cutTexts.isEmpty(); });
    const QString finding = cut == 0
        ? QStringLiteral("<p class=\"fine\">No text is cut.</p>\n")
        : QStringLiteral("<p class=\"cut\">Windows in which a text is cut: %1.</p>\n").arg(cut);
    return QStringLiteral("<p>The update windows of the settings panel %1, drawn by the panel's own code on %2. "
                          "The news is that of %3; title bars are drawn by this page.</p>\n")
               .arg(identity::version, escaped(QSysInfo::prettyProductName()), escaped(source))
        + finding;
}

} // namespace

QString galleryIndex(const QList<Picture> &pictures, const QString &source)
{
    QString html = QStringLiteral("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                                  "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                                  "<meta name=\"color-scheme\" content=\"light dark\">\n"
                                  "<title>Update windows of the KD-MX Series settings panel</title>\n<style>\n")
        + style() + QStringLiteral("</style>\n</head>\n<body>\n<header>\n<h1>Update windows</h1>\n")
        + introduction(pictures, source) + QStringLiteral("</header>\n<main>\n") + table(pictures);
    for (const QLocale::Language language : languagesOf(pictures))
        html += section(pictures, language);
    return html + QStringLiteral("</main>\n</body>\n</html>\n");
}
