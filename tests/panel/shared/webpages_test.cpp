#include "webpages.h"

#include <QTest>

using webpages::Model;
using webpages::Page;

class WebPagesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyJapaneseGetsTheJapaneseEdition()
    {
        for (const Model model : {Model::KdMx2, Model::KdMx4}) {
            for (const Page page : {Page::Product, Page::Support}) {
                const QUrl international = webpages::address(model, page, QLocale::English);
                QVERIFY(webpages::address(model, page, QLocale::Japanese) != international);
                QCOMPARE(webpages::address(model, page, QLocale::Chinese), international);
                QCOMPARE(webpages::address(model, page, QLocale::German), international);
                QCOMPARE(webpages::address(model, page, QLocale::C), international);
            }
        }
    }

    void aModelsPagesDifferOnlyInTheLastSegment()
    {
        for (const Model model : {Model::KdMx2, Model::KdMx4}) {
            for (const QLocale::Language language : {QLocale::Japanese, QLocale::English}) {
                const QString product = webpages::address(model, Page::Product, language).toString();
                const QString support = webpages::address(model, Page::Support, language).toString();
                QCOMPARE(product.section(u'/', 0, -2), support.section(u'/', 0, -2));
                QCOMPARE(product.section(u'/', -1), QStringLiteral("top"));
                QCOMPARE(support.section(u'/', -1), QStringLiteral("support"));
            }
        }
    }

    void modelsHavePagesOfTheirOwn()
    {
        QVERIFY(webpages::address(Model::KdMx2, Page::Product, QLocale::English)
                != webpages::address(Model::KdMx4, Page::Product, QLocale::English));
    }

    void onlyJapaneseGetsTheJapaneseSite()
    {
        QVERIFY(webpages::home(QLocale::Japanese) != webpages::home(QLocale::English));
        QCOMPARE(webpages::home(QLocale::Chinese), webpages::home(QLocale::English));
        QCOMPARE(webpages::home(QLocale::C), webpages::home(QLocale::English));
    }

    void updateInformationHasItsPath()
    {
        QCOMPARE(webpages::updateInformation().path(),
                 QStringLiteral("/download/fw/corvo9/Corvo9_UpdateInformation.json"));
    }

    void addressesAreSecureAndOnTheReservedName()
    {
        const QUrl page = webpages::address(Model::KdMx2, Page::Product, QLocale::English);
        for (const QUrl &url : {page, webpages::home(QLocale::English), webpages::updateInformation()}) {
            QVERIFY(url.isValid());
            QCOMPARE(url.scheme(), QStringLiteral("https"));
            QVERIFY(url.host().endsWith(QStringLiteral(".example")));
            QCOMPARE(url.host(), page.host());
        }
    }
};

QTEST_APPLESS_MAIN(WebPagesTest)
#include "webpages_test.moc"
