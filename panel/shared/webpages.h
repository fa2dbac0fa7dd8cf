#pragma once

#include <QLocale>
#include <QUrl>

/**
 * The maker's web pages. Their addresses stand in webpages.cpp and nowhere else.
 *
 * May be used from any thread. Rests on QUrl and QLocale (Qt Core).
 */
namespace webpages {

/// Which recorder a page is about.
enum class Model { KdMx2, KdMx4 };

/// Which of its pages.
enum class Page { Product, Support };

/**
 * The address of a model's page.
 *
 * @param model     which recorder the page is about
 * @param page      which of its pages
 * @param language  Japanese gives the Japanese edition, any other language (Chinese included) the international one
 * @return a full address, https
 */
QUrl address(Model model, Page page, QLocale::Language language);

/**
 * The address of the maker's web site.
 *
 * @param language  Japanese gives the Japanese site, any other language the international one
 * @return a full address, https
 */
QUrl home(QLocale::Language language);

/// The address of the update-information document.
QUrl updateInformation();

} // namespace webpages
