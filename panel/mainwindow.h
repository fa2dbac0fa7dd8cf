#pragma once

#include "webpages.h"

#include <QMainWindow>
#include <QString>
#include <QUrl>

#include <memory>

class QSettings;

namespace Ui {
class MainWindow;
}

/**
 * The panel's window: buffer size and 32-bit float format of the audio driver, and the help menu.
 *
 * Each change is written to the driver's settings at once. Stored values that the panel does not know are replaced
 * when the window is made. Lives in the GUI thread. Rests on Qt Widgets; the slots are bound to the form's objects by
 * name.
 */
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /**
     * Builds the window, reads and repairs the driver's settings and shows the ASIO reminder if it is due.
     *
     * The reminder is modal: the constructor returns when the user has closed it.
     *
     * @param parent  owner, or null for a top-level window
     */
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

private Q_SLOTS:
    void on_actionLicense_triggered();
    void on_actionVELMAR_Application_triggered();
    void on_cb_bufferSizeValue_currentIndexChanged(int index);
    void on_radioButton_ON_clicked();
    void on_radioButton_OFF_clicked();
    void on_text_off_clicked();
    void on_text_on_clicked();
    void on_actionProduct_Information_AV2_2_triggered();
    void on_actionFAQs_AV2_triggered();
    void on_buildBtn_clicked();
    void on_actionProduct_Information_AV4_3_triggered();
    void on_actionFAQs_AV4_triggered();

private:
    void loadDriverSettings();
    void loadBufferSize();
    void loadSampleFormat();
    void remindOfAsioDriver();
    bool isReminderEnabled();
    void describeControls();
    void arrangeFocus();
    void openWebPage(webpages::Model model, webpages::Page page);

    std::unique_ptr<Ui::MainWindow> m_ui;
    QString m_reminderLanguage;
    std::unique_ptr<QSettings> m_settings;
    bool m_showBuild = false;
    QUrl m_lastWebPage;
};
