#include "updatetexts.h"

#include "webpages.h"

#include <algorithm>

namespace {

/// What a translator writes: one language, without the HTML around the sentences.
struct Language
{
    QLocale::Language language;

    // Buttons and the check box.
    const char16_t *ok;
    const char16_t *cancel;
    const char16_t *accept;
    const char16_t *decline;
    const char16_t *dontShowAgain;

    // Window titles.
    const char16_t *title;
    const char16_t *newsTitle;

    // The offers. A version follows each of the first two, so a blank ends them where the script has blanks.
    const char16_t *currentVersion;
    const char16_t *latestVersion;
    const char16_t *softwareReleased;
    const char16_t *firmwareReleased;

    // The error box. The address of the web site follows the last one.
    const char16_t *downloadFailed;
    const char16_t *tryAgain;
    const char16_t *byHand;

    // The small windows beside a download, where 230 pixels have to do.
    const char16_t *downloading;
    const char16_t *downloaded;
};

// A new language goes to the end and is counted in updateTextRowCount. The first one stands in for all that are
// missing.
constexpr std::array<Language, updateTextRowCount> languages = {{
    {
        .language = QLocale::English,
        .ok = u"OK",
        .cancel = u"Cancel",
        .accept = u"Update now",
        .decline = u"Update later",
        .dontShowAgain = u"Do not show this message again",
        .title = u"VELMAR Update Information",
        .newsTitle = u"VELMAR Latest Information",
        .currentVersion = u"Current Version: ",
        .latestVersion = u"Latest Version: ",
        .softwareReleased = u"The newest version of the Settings Panel has been released.",
        .firmwareReleased = u"The newest version of the unit firmware has been released.",
        .downloadFailed = u"The update file could not be downloaded.",
        .tryAgain = u"Please try again after waiting a little while.",
        .byHand = u"You can also download it manually from the VELMAR website.",
        .downloading = u"Downloading",
        .downloaded = u"Download complete",
    },
    {
        .language = QLocale::French,
        .ok = u"OK",
        .cancel = u"Annuler",
        .accept = u"Mettre à jour",
        .decline = u"Plus tard",
        .dontShowAgain = u"Ne plus afficher ce message",
        .title = u"Informations de mise à jour VELMAR",
        .newsTitle = u"Dernières informations VELMAR",
        .currentVersion = u"Version actuelle : ",
        .latestVersion = u"Dernière version : ",
        .softwareReleased = u"Il existe une version plus récente du panneau de réglages Settings Panel.",
        .firmwareReleased = u"Il existe une version plus récente du firmware de l'unité.",
        .downloadFailed = u"Le fichier de mise à jour n'a pas pu être téléchargé.",
        .tryAgain = u"Veuillez réessayer après avoir attendu un peu.",
        .byHand = u"Vous pouvez également le télécharger manuellement depuis le site Web Velmar.",
        .downloading = u"Téléchargement",
        .downloaded = u"Téléchargement terminé",
    },
    {
        .language = QLocale::Spanish,
        .ok = u"OK",
        .cancel = u"Cancelar",
        .accept = u"Actualizar ahora",
        .decline = u"Actualizar más tarde",
        .dontShowAgain = u"No volver a ver este mensaje",
        .title = u"Información de actualización VELMAR",
        .newsTitle = u"Últimas novedades de VELMAR",
        .currentVersion = u"Versión actual: ",
        .latestVersion = u"Última versión: ",
        .softwareReleased = u"Hay una nueva versión disponible del Settings Panel.",
        .firmwareReleased = u"Hay una nueva versión disponible del firmware de la unidad.",
        .downloadFailed = u"El fichero de actualización no ha podido ser descargado.",
        .tryAgain = u"Pruebe de nuevo después de unos minutos.",
        .byHand = u"También puede descargarlo manualmente desde la página web de VELMAR.",
        .downloading = u"Descargando",
        .downloaded = u"Descarga finalizada",
    },
    {
        .language = QLocale::German,
        .ok = u"OK",
        .cancel = u"Abbrechen",
        .accept = u"Update jetzt",
        .decline = u"Update später",
        .dontShowAgain = u"Diese Meldung nicht mehr anzeigen",
        .title = u"VELMAR Update-Information",
        .newsTitle = u"VELMAR – Neueste Informationen",
        .currentVersion = u"Aktuelle Version: ",
        .latestVersion = u"Neue Version: ",
        .softwareReleased = u"Eine neue Version des Einstellungsfelds ist verfügbar.",
        .firmwareReleased = u"Eine neue Version der Gerätefirmware ist verfügbar.",
        .downloadFailed = u"Die Update-Datei konnte nicht heruntergeladen werden.",
        .tryAgain = u"Bitte versuchen Sie es später noch einmal.",
        .byHand = u"Oder laden Sie das Update manuell von der VELMAR-Website herunter.",
        .downloading = u"Herunterladen",
        .downloaded = u"Herunterladen abgeschlossen",
    },
    {
        .language = QLocale::Italian,
        .ok = u"OK",
        .cancel = u"Annulla",
        .accept = u"Aggiorna ora",
        .decline = u"Aggiorna più tardi",
        .dontShowAgain = u"Non mostrare più questo messaggio",
        .title = u"VELMAR Informazioni di aggiornamento",
        .newsTitle = u"VELMAR Ultime informazioni",
        .currentVersion = u"Versione corrente: ",
        .latestVersion = u"Ultima versione: ",
        .softwareReleased = u"È stata rilasciata la nuova versione del Settings Panel.",
        .firmwareReleased = u"È stata rilasciata la versione più recente del firmware dell'unità.",
        .downloadFailed = u"Il file di aggiornamento non può essere scaricato.",
        .tryAgain = u"Attendere qualche istante e riprovare.",
        .byHand = u"È possibile scaricarlo manualmente dal sito web VELMAR.",
        .downloading = u"Scaricamento",
        .downloaded = u"Download completato",
    },
    {
        .language = QLocale::Japanese,
        .ok = u"OK",
        .cancel = u"中止",
        .accept = u"今すぐアップデートする",
        .decline = u"あとでアップデートする",
        .dontShowAgain = u"同じメッセージを再度表示しない",
        .title = u"VELMAR Update Information",
        .newsTitle = u"VELMAR Latest Information",
        .currentVersion = u"現在のバージョン: ",
        .latestVersion = u"新しいバージョン: ",
        .softwareReleased = u"Settings Panelの最新版がリリースされました。",
        .firmwareReleased = u"本体ファームウェアの最新版がリリースされました。",
        .downloadFailed = u"更新ファイルがダウンロードできませんでした。",
        .tryAgain = u"時間を空けて再度お試しください。",
        .byHand = u"VELMARホームページから手動でダウンロードしていただくこともできます。",
        .downloading = u"ダウンロード中",
        .downloaded = u"ダウンロード完了",
    },
    {
        .language = QLocale::Chinese,
        .ok = u"OK",
        .cancel = u"取消",
        .accept = u"现在更新",
        .decline = u"往后更新",
        .dontShowAgain = u"不再显示此信息",
        .title = u"VELMAR更新信息",
        .newsTitle = u"VELMAR最新信息",
        .currentVersion = u"目前版本︰",
        .latestVersion = u"最新版本︰",
        .softwareReleased = u"设置面板的最新版本已经发布。",
        .firmwareReleased = u"本机固件的最新版本已经发布。",
        .downloadFailed = u"不能下载更新文件。",
        .tryAgain = u"请多等一会儿再次尝试。",
        .byHand = u"您也可以从VELMAR官网上下载。",
        .downloading = u"下载中",
        .downloaded = u"下载完成",
    },
}};

QString headline(const char16_t *sentence)
{
    return QStringLiteral("<font size=+1><b>") + QString::fromUtf16(sentence) + QStringLiteral("</b></font><br>");
}

QString bold(const char16_t *text)
{
    return QStringLiteral("<b>") + QString::fromUtf16(text) + QStringLiteral("</b>");
}

QString errorText(const Language &in)
{
    const QString lineEnd = QStringLiteral("<br>");
    const QString address = webpages::home(in.language).toString();
    return QString::fromUtf16(in.downloadFailed) + lineEnd + QString::fromUtf16(in.tryAgain) + lineEnd
        + QString(16, u' ') + QString::fromUtf16(in.byHand) + lineEnd
        + QStringLiteral("<a href=\"%1\">%1</a>").arg(address);
}

UpdateTextRow row(const Language &in)
{
    UpdateTextRow texts;
    texts[UpdateTextOk] = QString::fromUtf16(in.ok);
    texts[UpdateTextCancel] = QString::fromUtf16(in.cancel);
    texts[UpdateTextAccept] = QString::fromUtf16(in.accept);
    texts[UpdateTextDecline] = QString::fromUtf16(in.decline);
    texts[UpdateTextDontShowAgain] = QString::fromUtf16(in.dontShowAgain);
    texts[UpdateTextTitle] = QString::fromUtf16(in.title);
    texts[UpdateTextCurrentVersion] = QString::fromUtf16(in.currentVersion);
    texts[UpdateTextLatestVersion] = QString::fromUtf16(in.latestVersion);
    texts[UpdateTextSoftwareHeadline] = headline(in.softwareReleased);
    texts[UpdateTextFirmwareHeadline] = headline(in.firmwareReleased);
    texts[UpdateTextNewsTitle] = QString::fromUtf16(in.newsTitle);
    texts[UpdateTextError] = errorText(in);
    texts[UpdateTextDownloading] = bold(in.downloading);
    texts[UpdateTextDownloaded] = bold(in.downloaded);
    return texts;
}

std::array<UpdateTextRow, updateTextRowCount> allRows()
{
    std::array<UpdateTextRow, updateTextRowCount> rows;
    std::transform(languages.begin(), languages.end(), rows.begin(), row);
    return rows;
}

} // namespace

const std::array<UpdateTextRow, updateTextRowCount> updateTexts = allRows();

int updateTextRow(QLocale::Language language)
{
    const auto *const found = std::find_if(languages.begin(), languages.end(),
                                           [&](const Language &candidate) { return candidate.language == language; });
    return found == languages.end() ? 0 : static_cast<int>(found - languages.begin());
}
