#include "webpages.h"

namespace webpages {

namespace {

// ".example" is reserved and leads nowhere: the maker's real host is entered here when it is known.
QString site()
{
    return QStringLiteral("https://www.velmar.example/");
}

QString edition(QLocale::Language language)
{
    return language == QLocale::Japanese ? QStringLiteral("jp/") : QStringLiteral("international/");
}

QString segment(Model model)
{
    return model == Model::KdMx2 ? QStringLiteral("kd-mx2/") : QStringLiteral("kd-mx4/");
}

QString segment(Page page)
{
    return page == Page::Product ? QStringLiteral("top") : QStringLiteral("support");
}

} // namespace

QUrl address(Model model, Page page, QLocale::Language language)
{
    return QUrl(site() + edition(language) + QStringLiteral("product/") + segment(model) + segment(page));
}

QUrl home(QLocale::Language language)
{
    return QUrl(site() + edition(language));
}

QUrl updateInformation()
{
    return QUrl(site() + QStringLiteral("download/fw/corvo9/Corvo9_UpdateInformation.json"));
}

} // namespace webpages
