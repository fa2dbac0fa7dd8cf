#pragma once

#include <QLocale>
#include <QString>

#include <array>

/**
 * @file
 * Every text that the update service shows, in all its languages. The panel's translation file is not used for them, so
 * that a release can be announced in a language in which the panel itself does not speak.
 *
 * Rests on QString and QLocale (Qt Core).
 */

/// The fields of a row. HTML where it says so; a blank ends the labels of versions where the script has blanks.
enum UpdateText {
    UpdateTextOk, ///< button of the news box and of the completion window
    UpdateTextCancel, ///< button of the progress window
    UpdateTextAccept, ///< accept button of the offer boxes
    UpdateTextDecline, ///< decline button of the offer boxes
    UpdateTextDontShowAgain, ///< check box of the three boxes
    UpdateTextTitle, ///< title of the offer boxes, the progress and completion windows and the error box
    UpdateTextCurrentVersion, ///< label before the current version
    UpdateTextLatestVersion, ///< label before the latest version
    UpdateTextSoftwareHeadline, ///< HTML: headline of the program offer
    UpdateTextFirmwareHeadline, ///< HTML: headline of the firmware offer
    UpdateTextNewsTitle, ///< title of the news box
    UpdateTextError, ///< HTML: text of the error box
    UpdateTextDownloading, ///< HTML: label of the progress window
    UpdateTextDownloaded, ///< HTML: label of the completion window
    UpdateTextCount
};

/// One language.
using UpdateTextRow = std::array<QString, UpdateTextCount>;

/// Languages in the table.
constexpr int updateTextRowCount = 7;

/// The table: English, French, Spanish, German, Italian, Japanese, Chinese. Built during static initialisation.
extern const std::array<UpdateTextRow, updateTextRowCount> updateTexts;

/// The row of a language; that of English for any language that has none.
int updateTextRow(QLocale::Language language);
