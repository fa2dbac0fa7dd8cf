#include "mainwindow.h"

#include "aboutbox.h"
#include "asioreminder.h"
#include "driversettings.h"
#include "fontfallbacks.h"
#include "identity.h"
#include "licensedialog.h"
#include "panelsettings.h"
#include "qusdevice.h"
#include "settingsfile.h"
#include "ui_mainwindow.h"

#include <QDesktopServices>

#include <algorithm>
#include <array>

namespace {

// The recorder unit. It is looked for before main(), so that nothing waits for that later; the window of this version
// asks nothing of it.
QUSDevice usDevice;

// Sample frames, in the order of the combo box.
constexpr std::array<uint, 6> bufferSizes = {64, 128, 256, 512, 1024, 2048};
constexpr uint defaultBufferSize = 256;
constexpr int defaultBufferSizeIndex = 2;

// ASIO sample-type codes.
constexpr int sampleTypeInt32 = 18;
constexpr int sampleTypeFloat32 = 19;

const QString reminderGroup = QStringLiteral("PopupMessage");
const QString reminderKey = QStringLiteral("WakeUp");

uint bufferSizeAt(int index)
{
    // As an unsigned number, "no item" (-1) is past the end as well.
    const auto position = static_cast<uint>(index);
    return position < bufferSizes.size() ? bufferSizes[position] : defaultBufferSize;
}

qlonglong readDriverValue(const QString &name)
{
    // Wider than the value: as an int, a stored number that is too large would wrap and could look valid.
    return openDriverSettings().value(name, 0).toLongLong();
}

void writeDriverValue(const QString &name, const QVariant &value)
{
    QSettings settings = openDriverSettings();
    settingsfile::saveValue(settings, name, value);
}

void writePanelValue(const QString &key, const QVariant &value)
{
    QSettings settings = openPanelSettings();
    settingsfile::saveValue(settings, key, value);
}

void writeBufferSize(uint frames)
{
    writeDriverValue(identity::bufferSizeValueName, frames);
}

void writeSampleType(int type)
{
    writeDriverValue(identity::sampleFormatValueName, type);
}

} // namespace

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , m_ui(new Ui::MainWindow)
{
    insertFontFallbacks();
    m_ui->setupUi(this);
    setFixedSize(sizeHint());
    m_settings.reset(new QSettings(openPanelSettings()));
    loadDriverSettings();
    remindOfAsioDriver();
    QFont font(QStringLiteral("Arial"));
    font.setPixelSize(11);
    m_ui->tb_information->setFont(font);
    m_ui->actionUpdate->setVisible(false);
    describeControls();
    arrangeFocus();
    qDebug("MainWindow End");
}

MainWindow::~MainWindow()
{
    qDebug("~MainWindow");
}

void MainWindow::loadDriverSettings()
{
    loadBufferSize();
    loadSampleFormat();
}

void MainWindow::loadBufferSize()
{
    const qlonglong stored = readDriverValue(identity::bufferSizeValueName);
    const auto *const known = std::find(bufferSizes.begin(), bufferSizes.end(), stored);
    if (known != bufferSizes.end()) {
        m_ui->cb_bufferSizeValue->setCurrentIndex(static_cast<int>(known - bufferSizes.begin()));
        return;
    }
    writeBufferSize(defaultBufferSize);
    m_ui->cb_bufferSizeValue->setCurrentIndex(defaultBufferSizeIndex);
}

void MainWindow::loadSampleFormat()
{
    const qlonglong stored = readDriverValue(identity::sampleFormatValueName);
    if (stored == sampleTypeFloat32) {
        m_ui->radioButton_ON->setChecked(true);
        return;
    }
    if (stored != sampleTypeInt32)
        writeSampleType(sampleTypeInt32);
    m_ui->radioButton_OFF->setChecked(true);
}

void MainWindow::remindOfAsioDriver()
{
    if (!isReminderEnabled())
        return;
    const QLocale::Language language = QLocale::system().language();
    m_reminderLanguage = QLocale::languageToString(language);
    qDebug("%s", qUtf8Printable(m_reminderLanguage));
    if (!showAsioReminder(language))
        return;
    writePanelValue(reminderGroup + u'/' + reminderKey, false);
    // The driver's settings also record that the reminder is off.
    writeDriverValue(reminderKey, false);
}

bool MainWindow::isReminderEnabled()
{
    m_settings->beginGroup(reminderGroup);
    const bool enabled = m_settings->value(reminderKey, true).toBool();
    m_settings->endGroup();
    m_settings->sync();
    return enabled;
}

void MainWindow::describeControls()
{
    m_ui->label_version->setText(QStringLiteral("Ver ") + identity::version);

    // A screen reader says what the eye gets from the layout: the captions and the notes around a control.
    const QString title = m_ui->label_title32bitFloat->text();
    m_ui->radioButton_ON->setAccessibleName(title + u' ' + m_ui->text_on->text());
    m_ui->radioButton_OFF->setAccessibleName(title + u' ' + m_ui->text_off->text());
    const QString formatNote = m_ui->tb_information_Float->toPlainText();
    m_ui->radioButton_ON->setAccessibleDescription(formatNote);
    m_ui->radioButton_OFF->setAccessibleDescription(formatNote);
    m_ui->cb_bufferSizeValue->setAccessibleName(m_ui->label_bufferSizeTitle->text());
    m_ui->cb_bufferSizeValue->setAccessibleDescription(m_ui->tb_information->toPlainText());
}

void MainWindow::openWebPage(webpages::Model model, webpages::Page page)
{
    m_lastWebPage = webpages::address(model, page, QLocale().language());
    QDesktopServices::openUrl(m_lastWebPage);
}

void MainWindow::arrangeFocus()
{
    m_ui->text_on->setFocusProxy(m_ui->radioButton_ON);
    m_ui->text_off->setFocusProxy(m_ui->radioButton_OFF);

    // Tab leads to the chosen one of two radio buttons. Qt arranges that only once one of them has had the focus.
    for (QRadioButton *const button : {m_ui->radioButton_ON, m_ui->radioButton_OFF}) {
        const auto follow = [button](bool chosen) {
            button->setFocusPolicy(chosen ? Qt::StrongFocus : Qt::ClickFocus);
        };
        follow(button->isChecked());
        connect(button, &QRadioButton::toggled, button, follow);
    }
}

void MainWindow::on_actionLicense_triggered()
{
    showLicense(this);
}

void MainWindow::on_actionVELMAR_Application_triggered()
{
    showAboutBox(m_showBuild ? identity::longVersion : identity::version);
}

void MainWindow::on_cb_bufferSizeValue_currentIndexChanged(int index)
{
    const uint frames = bufferSizeAt(index);
    writeBufferSize(frames);
    qDebug("Change Buffer Size:%d", static_cast<int>(frames));
}

void MainWindow::on_radioButton_ON_clicked()
{
    writeSampleType(sampleTypeFloat32);
    qDebug("Change 32bit float On");
}

void MainWindow::on_radioButton_OFF_clicked()
{
    writeSampleType(sampleTypeInt32);
    qDebug("Change 32bit float Off");
}

void MainWindow::on_text_off_clicked()
{
    m_ui->radioButton_OFF->setChecked(true);
    on_radioButton_OFF_clicked();
}

void MainWindow::on_text_on_clicked()
{
    m_ui->radioButton_ON->setChecked(true);
    on_radioButton_ON_clicked();
}

void MainWindow::on_actionProduct_Information_AV2_2_triggered()
{
    openWebPage(webpages::Model::KdMx2, webpages::Page::Product);
}

void MainWindow::on_actionFAQs_AV2_triggered()
{
    openWebPage(webpages::Model::KdMx2, webpages::Page::Support);
}

void MainWindow::on_buildBtn_clicked()
{
    m_showBuild = true;
}

void MainWindow::on_actionProduct_Information_AV4_3_triggered()
{
    openWebPage(webpages::Model::KdMx4, webpages::Page::Product);
}

void MainWindow::on_actionFAQs_AV4_triggered()
{
    openWebPage(webpages::Model::KdMx4, webpages::Page::Support);
}
