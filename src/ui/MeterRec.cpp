// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "ui/MeterRec.h"

#include "qt/live_timers.h"
#include "qt/qt_translations.h"

#include "alarms/AlarmBanner.h"
#include "alarms/AlarmEditor.h"
#include "datafile/data_folder.h"
#include "logger/Logger.h"
#include "pfimprove/ImprovePF.h"
#include "pfimprove/hz_wait.h"
#include "plot/PlotFile.h"
#include "text/mask_format.h"
#include "trend/TrendChart.h"
#include "ui/CaptionText.h"
#include "ui/PrintPicture.h"
#include "ui/VIEW.h"
#include "ui/help_about.h"
#include "ui/window_place.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPageSetupDialog>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QVBoxLayout>

namespace pa::ui {
namespace {

QString qs(const std::string& s) {
    return QString::fromStdString(s);
}

// The model name shown in the status group.
constexpr const char* kModel = "KV2260";

constexpr const char* kPanelStyle =
    "QLabel { background: #0d1418; color: #e6f4ea; border: 1px solid #2c3a40;"
    " border-radius: 4px; padding: 2px 8px; }";
// The same panels while another window holds the readings still: greyed, so that nobody
// takes a paused reading for a live one.
constexpr const char* kPausedPanelStyle =
    "QLabel { background: #2a2f33; color: #8a9499; border: 1px dashed #6b7880;"
    " border-radius: 4px; padding: 2px 8px; }";

// The same panels while the instrument is silent (NO COM): the last values stay readable but
// dimmed, so that nobody takes them for what the line carries now.
constexpr const char* kSilentPanelStyle =
    "QLabel { background: #161c20; color: #6f7d84; border: 1px solid #2c3a40;"
    " border-radius: 4px; padding: 2px 8px; }";

// The window size at which the readouts have their designed font sizes; they grow with the
// window from there, and shrink a little below it.
constexpr int kDesignWidth = 900, kDesignHeight = 520;
constexpr double kMinFontScale = 0.75, kMaxFontScale = 2.5;

// The recording box while the readings are held still.
constexpr const char* kRecordingPausedText = "Recording paused !";

QLabel* readoutLabel(QWidget* parent, int index, int pointSize) {
    auto* label = new QLabel(parent);
    label->setObjectName(QString("Panel3D2_%1").arg(index));
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSize(pointSize);
    font.setBold(true);
    label->setFont(font);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setStyleSheet(kPanelStyle);
    label->setMinimumWidth(pointSize * 7);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

MeterRec::MeterRec(app::ProgramState& state, app::Port& port, app::Clock& clock, app::Ui& ui,
                   QWidget* parent)
    : QMainWindow(parent), state_(state), port_(port), clock_(clock), ui_(ui),
      link_(port, clock, ui, state), cycle_(port, clock, ui, state),
      recorder_(cycle_, clock, ui, state) {
    setObjectName("MeterRec");
    timer1_.setObjectName("Timer1");
    timer2_.setObjectName("Timer2");
    qt::wireLiveTimers(timer1_, timer2_, link_, cycle_);
    connect(&timer1_, &QTimer::timeout, this, [this] {
        timer1_.setInterval(cycle_.Timer1Tick());
        refresh();
    });
    connect(&timer2_, &QTimer::timeout, this, [this] {
        cycle_.Timer2Tick();
        refresh();
    });
    // Get Hz's waits count down in the pause banner (and in the wait box where one is up).
    cycle_.setWaitListener([this](double left, double total) {
        const int tenths = static_cast<int>(total * 10 + 0.5);
        const int leftTenths = static_cast<int>(left * 10 + 0.5);
        const int seconds = (leftTenths + 9) / 10;
        ui_.statusProgress(tenths - leftTenths, tenths, std::to_string(seconds) + " s");
        if (!pausedBy_.isEmpty()) {
            paused_->setFullText(
                QString("%1  %2 s")
                    .arg(captionText(pausedBanner_, state_.language).arg(pausedBy_))
                    .arg(seconds));
            paused_->repaint();
        }
    });
    buildMenus();
    buildBody();
    connectRecording();
    addTrend();
    addAlarms();
    applyCaptions(state_.language);
    refresh();
}

void MeterRec::buildMenus() {
    QMenuBar* bar = menuBar();

    fileMenu_ = bar->addMenu(QString());
    createDataFile_ = fileMenu_->addAction(QString());
    createDataFile_->setObjectName("FileCreate");
    startRecordingMenu_ = fileMenu_->addMenu(QString());
    startRecordingMenu_->setObjectName("FileStart");
    recordAuto_ = startRecordingMenu_->addAction(QString());
    recordManual_ = startRecordingMenu_->addAction(QString());
    endRecording_ = fileMenu_->addAction(QString());
    endRecording_->setObjectName("FileEnd");
    fileMenu_->addSeparator();
    viewFile_ = fileMenu_->addAction(QString());
    plotFile_ = fileMenu_->addAction(QString());
    fileMenu_->addSeparator();
    printerSetup_ = fileMenu_->addAction(QString());
    fileMenu_->addSeparator();
    exit_ = fileMenu_->addAction(QString());
    exit_->setShortcut(QKeySequence::Quit);
    connect(exit_, &QAction::triggered, this, &QWidget::close);
    connect(printerSetup_, &QAction::triggered, this, [this] {
        QPrinter printer;
        QPageSetupDialog(&printer, this).exec();
    });
    plotFile_->setObjectName("PlotData");
    connect(plotFile_, &QAction::triggered, this, &MeterRec::openPlotWindow);

    improvePf_ = bar->addAction(QString());
    improvePf_->setObjectName("showPF");
    connect(improvePf_, &QAction::triggered, this, &MeterRec::showPF);
    datalogger_ = bar->addAction(QString());
    datalogger_->setObjectName("datalogger");
    connect(datalogger_, &QAction::triggered, this, [this] { openLogger(); });

    optionMenu_ = bar->addMenu(QString());
    sampleRate_ = optionMenu_->addAction(QString());
    sampleRate_->setObjectName("SampleRate");
    connect(sampleRate_, &QAction::triggered, this, [this] {
        cycle_.SampleRate();
        refresh();
    });

    comMenu_ = optionMenu_->addMenu("COM");
    comMenu_->setObjectName("port");
    for (int n = 1; n <= app::kComMenuItems; ++n) {
        QAction* item = comMenu_->addAction(QString("COM %1").arg(n));
        item->setObjectName(QString("port_number_%1").arg(n));
        connect(item, &QAction::triggered, this, [this, n] { selectPort(n); });
        portNumber_.append(item);
    }
    comMenu_->addSeparator();
    otherPort_ = comMenu_->addAction(QString());
    otherPort_->setObjectName("port_other");
    connect(otherPort_, &QAction::triggered, this, &MeterRec::typePortName);

    baudMenu_ = optionMenu_->addMenu(qs(link_.baudCaption()));
    baudMenu_->setObjectName("baud");
    for (int i = 0; i < 4; ++i) {
        const QString rate = QString(app::kBaudChoices[i].settings).section(',', 0, 0);
        QAction* item = baudMenu_->addAction(rate);
        item->setObjectName(QString("baud_rate_%1").arg(i));
        connect(item, &QAction::triggered, this, [this, i] { selectBaud(i); });
        baudRate_.append(item);
    }

    languageMenu_ = optionMenu_->addMenu(QString());
    english_ = languageMenu_->addAction(QString());
    chinese_ = languageMenu_->addAction(QString());
    connect(english_, &QAction::triggered, this, [this] {
        state_.language = 1;
        applyCaptions(1);
    });
    connect(chinese_, &QAction::triggered, this, [this] {
        state_.language = 2;
        applyCaptions(2);
    });
    alarms_ = optionMenu_->addAction(QString());
    alarms_->setObjectName("Alarms");
    connect(alarms_, &QAction::triggered, this, &MeterRec::editAlarms);

    helpMenu_ = bar->addMenu(kStartupHelpCaption);
    manualMenu_ = helpMenu_->addMenu(QString());
    for (int item = 0; item < 6; ++item) {
        QAction* language = manualMenu_->addAction(kManualLanguages[item]);
        language->setObjectName(QString("manual_%1").arg(item));
        // The viewer is not waited for; a missing file is the viewer's to report.
        connect(language, &QAction::triggered, this, [this, item] {
            const std::string path =
                manualPath(QCoreApplication::applicationDirPath().toStdString(), item);
            if (!path.empty())
                ui_.openDocument(path);
        });
    }
    about_ = helpMenu_->addAction(QString());
    about_->setObjectName("about");
    connect(about_, &QAction::triggered, this,
            [this] { ui_.message(aboutText(), "About", app::Icon::None, app::Buttons::Ok); });

    QAction* version = bar->addAction("V6.7");
    version->setEnabled(false);
}

logger::Logger* MeterRec::openLogger() {
    if (!logger_) {
        logger_ = new logger::Logger(
            port_, clock_, ui_, state_, [this](int on) { loggerSampling(on); },
            [] { return datafile::DataFolder().path; }, this);
        logger_->setWindowFlag(Qt::Window);
    }
    logger_->applyCaptions(state_.language);
    if (!logger_->isVisible())
        placeOver(logger_, this);
    logger_->show();
    logger_->raise();
    logger_->activateWindow();
    return logger_;
}

QWidget* MeterRec::buildReadings() {
    auto* readings = new QWidget(this);
    auto* grid = new QGridLayout(readings);
    grid->setSpacing(8);
    // The four measured values large on the first row, the derived ones below.
    const struct {
        int panel, row, column, pointSize;
    } places[] = {{live::kW, 0, 0, 30},   {live::kPF, 0, 1, 30},    {live::kV, 0, 2, 30},
                  {live::kA, 0, 3, 30},   {live::kAngle, 1, 0, 20}, {live::kVA, 1, 1, 20},
                  {live::kVAR, 1, 2, 20}, {live::kHz, 1, 3, 20},    {live::kKWH, 2, 0, 20}};
    for (const auto& p : places) {
        auto* box = new QGroupBox(readings);
        box->setObjectName(QString("Frame_%1").arg(p.panel));
        auto* layout = new QVBoxLayout(box);
        layout->setContentsMargins(6, 4, 6, 6);
        panels_[p.panel] = readoutLabel(box, p.panel, p.pointSize);
        layout->addWidget(panels_[p.panel]);
        titles_[p.panel] = box;
        grid->addWidget(box, p.row, p.column);
    }
    grid->addWidget(buildCostAndButtons(), 2, 1, 1, 3);
    return readings;
}

QWidget* MeterRec::buildCostAndButtons() {
    auto* box = new QGroupBox(this);
    box->setObjectName("Frame_9");
    titles_[live::kEnergyPerPeriod] = box;
    auto* row = new QHBoxLayout(box);
    period_ = new QComboBox(box);
    period_->setObjectName("Combo1");
    connect(period_, &QComboBox::currentIndexChanged, this,
            [this](int index) { cycle_.energy().choosePeriod(index); });
    panels_[live::kEnergyPerPeriod] = readoutLabel(box, live::kEnergyPerPeriod, 20);
    panels_[live::kCost] = readoutLabel(box, live::kCost, 20);
    hoursPerDay_ = new QLineEdit("0", box);
    hoursPerDay_->setObjectName("set_hrs_per_day");
    hoursPerDay_->setMaximumWidth(70);
    pricePerKwh_ = new QLineEdit("0", box);
    pricePerKwh_->setObjectName("set_d_per_kwh");
    pricePerKwh_->setMaximumWidth(70);
    connect(hoursPerDay_, &QLineEdit::returnPressed, this, &MeterRec::hoursEntered);
    connect(pricePerKwh_, &QLineEdit::returnPressed, this, &MeterRec::priceEntered);
    hoursLabel_ = new QLabel(box);
    hoursLabel_->setBuddy(hoursPerDay_);
    priceLabel_ = new QLabel(box);
    priceLabel_->setBuddy(pricePerKwh_);

    auto* entries = new QGridLayout;
    entries->addWidget(period_, 0, 0, 1, 2);
    entries->addWidget(hoursPerDay_, 1, 0);
    entries->addWidget(hoursLabel_, 1, 1);
    entries->addWidget(pricePerKwh_, 2, 0);
    entries->addWidget(priceLabel_, 2, 1);
    row->addLayout(entries);
    row->addWidget(panels_[live::kEnergyPerPeriod], 1);
    row->addWidget(panels_[live::kCost], 1);
    return box;
}

QWidget* MeterRec::buildStatus() {
    auto* status = new QWidget(this);
    auto* row = new QHBoxLayout(status);
    auto makeLabel = [status](const char* name) {
        auto* label = new QLabel(status);
        label->setObjectName(name);
        return label;
    };
    sampleCaption_ = makeLabel("Label1_0");
    sampleValue_ = makeLabel("Label1_1");
    modelCaption_ = makeLabel("ModelCaption");
    modelValue_ = makeLabel("Model");
    modelValue_->setText(kModel);
    dateCaption_ = makeLabel("DateCaption");
    dateValue_ = makeLabel("Date");
    timeCaption_ = makeLabel("Label1_2");
    clockValue_ = makeLabel("Label1_3");
    warning_ = makeLabel("Warning");
    hold_ = makeLabel("hold");
    // Elided when the window is narrow, whole in its tooltip.
    portState_ = new ElidedLabel(status);
    portState_->setObjectName("PortState");
    alarmSet_ = makeLabel("AlarmSet");
    alarmSet_->setVisible(false);
    for (QLabel* l : {sampleCaption_, sampleValue_})
        l->installEventFilter(this);
    QFont big = clockValue_->font();
    big.setPointSize(big.pointSize() + 3);
    big.setBold(true);
    for (QLabel* l : {sampleValue_, modelValue_, dateValue_, clockValue_, warning_, hold_})
        l->setFont(big);
    warning_->setStyleSheet("color: white; background: #c62828; padding: 2px 10px;");
    hold_->setStyleSheet("color: black; background: #ffb300; padding: 2px 10px;");
    for (QLabel* l : {sampleCaption_, sampleValue_, modelCaption_, modelValue_, dateCaption_,
                      dateValue_, timeCaption_, clockValue_})
        row->addWidget(l);
    row->addSpacing(12);
    row->addWidget(warning_);
    row->addWidget(hold_);
    row->addWidget(alarmSet_);
    portState_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    row->addWidget(portState_, 1);
    return status;
}

void MeterRec::buildBody() {
    auto* body = new QWidget(this);
    auto* layout = new QVBoxLayout(body);
    layout->addWidget(buildReadings(), 1); // the readouts take the room a larger window gives

    auto* buttons = new QHBoxLayout;
    record_ = new QPushButton(body);
    record_->setObjectName("Record");
    record_->setVisible(false); // shown only while recording manually
    getHz_ = new QPushButton(body);
    getHz_->setObjectName("get_hz");
    connect(getHz_, &QPushButton::clicked, this, &MeterRec::getHz);
    reset_ = new QPushButton(body);
    reset_->setObjectName("reset_kwh");
    connect(reset_, &QPushButton::clicked, this, [this] {
        cycle_.resetKwh();
        refresh();
    });
    print_ = new QPushButton(body);
    print_->setObjectName("Print");
    connect(print_, &QPushButton::clicked, this, [this] {
        QPrinter printer;
        QPrintDialog dialog(&printer, this);
        if (dialog.exec() == QDialog::Accepted)
            printWindow(printer);
    });
    // The trend chart's button goes after Print (the window is wired in addTrend).
    trendButton_ = new QPushButton(body);
    trendButton_->setObjectName("trend");
    for (QPushButton* b : {getHz_, reset_, print_, trendButton_})
        buttons->addWidget(b);
    // Record comes and goes with manual recording; it keeps its place when hidden, so the
    // buttons before it never move.
    QSizePolicy keepPlace = record_->sizePolicy();
    keepPlace.setRetainSizeWhenHidden(true);
    record_->setSizePolicy(keepPlace);
    buttons->addWidget(record_);
    // The pause banner takes the free room right of the buttons, elided when the window is
    // narrow: it never widens the window.
    paused_ = new ElidedLabel(body);
    paused_->setObjectName("Paused");
    paused_->setVisible(false);
    QFont bannerFont = paused_->font();
    bannerFont.setPointSize(bannerFont.pointSize() + 1);
    bannerFont.setBold(true);
    paused_->setFont(bannerFont);
    paused_->setStyleSheet("color: white; background: #455a64; padding: 2px 10px;");
    buttons->addSpacing(12);
    buttons->addWidget(paused_, 1);
    buttons->addStretch(0);

    recordingGroup_ = new QWidget(body);
    auto* recording = new QHBoxLayout(recordingGroup_);
    recording->setContentsMargins(0, 0, 0, 0);
    serialNumberCaption_ = new QLabel(recordingGroup_);
    recordNumber_ = new QLineEdit("0", recordingGroup_);
    recordNumber_->setObjectName("Text1");
    recordNumber_->setMaximumWidth(90);
    lastRecordCaption_ = new QLabel(recordingGroup_);
    lastRecord_ = new ElidedLabel(recordingGroup_);
    lastRecord_->setObjectName("Label2");
    lastRecord_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    // A record line is wider than the window: it is shown as far as it fits, ending in "…",
    // whole in the tooltip, and never widens the window.
    lastRecord_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    for (QWidget* w : std::initializer_list<QWidget*>{serialNumberCaption_, recordNumber_,
                                                      lastRecordCaption_, lastRecord_})
        recording->addWidget(w);
    recording->setStretch(3, 1);
    recordingGroup_->setVisible(false); // until Start Recording is opened
    // The recording boxes have a row of their own, the window's whole width: the last record
    // is the widest thing in the window. The row keeps its height while hidden, so nothing
    // below it moves when recording starts.
    QSizePolicy keepRow = recordingGroup_->sizePolicy();
    keepRow.setRetainSizeWhenHidden(true);
    recordingGroup_->setSizePolicy(keepRow);

    layout->addLayout(buttons);
    layout->addWidget(recordingGroup_);
    layout->addWidget(buildStatus());
    setCentralWidget(body);
    // The panels' smallest size is that of their smallest font, so that a window made large
    // (and its fonts with it) can be made small again.
    for (int i = 0; i < live::kPanels; ++i) {
        panelPointSizes_[i] = panels_[i]->font().pointSize();
        QFont smallest = panels_[i]->font();
        smallest.setPointSizeF(panelPointSizes_[i] * kMinFontScale);
        const QFontMetrics m(smallest);
        panels_[i]->setMinimumSize(m.horizontalAdvance("0000.00") + 20, m.height() + 8);
    }
}

void MeterRec::applyCaptions(int language) {
    // Qt's own buttons and dialogs follow the language too.
    qt::useQtTranslations(language);
    cycle_.setCaptions(caption(Caption::NoCom, language), caption(Caption::Hold, language));

    fileMenu_->setTitle(captionText(Caption::MenuFile, language));
    recorder_.applyCaptions({caption(Caption::MenuCreateDataFile, language),
                             caption(Caption::FileNamePrompt, language),
                             caption(Caption::FileNameTitle, language)});
    createDataFile_->setText(qs(recorder_.createCaption()));
    if (viewer_)
        viewer_->applyCaptions(language);
    if (plotWindow_)
        plotWindow_->setLanguage(language);
    if (logger_)
        logger_->applyCaptions(language);
    startRecordingMenu_->setTitle(captionText(Caption::MenuStartRecording, language));
    recordAuto_->setText(captionText(Caption::MenuAuto, language));
    recordManual_->setText(captionText(Caption::MenuManual, language));
    endRecording_->setText(captionText(Caption::MenuEndRecording, language));
    viewFile_->setText(captionText(Caption::MenuViewFile, language));
    plotFile_->setText(captionText(Caption::MenuPlot, language));
    printerSetup_->setText(captionText(Caption::MenuPrinterSetup, language));
    print_->setText(captionText(Caption::PrintButton, language));
    exit_->setText(captionText(Caption::MenuExit, language));
    optionMenu_->setTitle(captionText(Caption::MenuOption, language));
    sampleRate_->setText(captionText(Caption::MenuSampleRate, language));
    improvePf_->setText(captionText(Caption::MenuImprovePF, language));
    languageMenu_->setTitle(captionText(Caption::MenuLanguage, language));
    english_->setText(captionText(Caption::MenuEnglish, language));
    chinese_->setText(captionText(Caption::MenuChinese, language));
    datalogger_->setText(captionText(Caption::MenuDatalogger, language));

    // The period list starts again at "month" in every language change.
    period_->clear();
    for (Caption c : {Caption::PeriodMonth, Caption::PeriodDay, Caption::PeriodYear})
        period_->addItem(captionText(c, language));
    period_->setCurrentIndex(0);
    cycle_.energy().choosePeriod(0);

    setWindowTitle(captionText(Caption::WindowTitle, language));
    // Qt ends every other window's title with the program's name: in the language chosen.
    QGuiApplication::setApplicationDisplayName(captionText(Caption::WindowTitle, language));
    const Caption readingTitles[] = {Caption::Reading0, Caption::Reading1, Caption::Reading2,
                                     Caption::Reading3, Caption::Reading4, Caption::Reading5,
                                     Caption::Reading6, Caption::Reading7, Caption::Reading8,
                                     Caption::Reading9};
    for (int i = 0; i <= live::kEnergyPerPeriod; ++i)
        titles_[i]->setTitle(captionText(readingTitles[i], language));
    hoursLabel_->setText(captionText(Caption::HoursPerDay, language));
    priceLabel_->setText(captionText(Caption::PricePerKwh, language));
    record_->setText(captionText(Caption::RecordButton, language));
    getHz_->setText(captionText(Caption::GetHzButton, language));
    reset_->setText(captionText(Caption::ResetButton, language));
    serialNumberCaption_->setText(captionText(Caption::SerialNumber, language));
    lastRecordCaption_->setText(captionText(Caption::LastRecord, language));
    sampleCaption_->setText(captionText(Caption::Sample, language));
    for (QLabel* l : {sampleCaption_, sampleValue_})
        l->setToolTip(captionText(Caption::SampleTip, language));
    otherPort_->setText(captionText(Caption::OtherPort, language));
    modelCaption_->setText(captionText(Caption::Model, language));
    dateCaption_->setText(captionText(Caption::Date, language));
    timeCaption_->setText(captionText(Caption::LastTime, language));

    helpMenu_->setTitle(captionText(Caption::MenuHelp, language));
    manualMenu_->setTitle(captionText(Caption::MenuUserManual, language));
    about_->setText(captionText(Caption::MenuAbout, language));
    if (improvePF_)
        improvePF_->applyCaptions(language);
    trendButton_->setText(captionText(Caption::Trend, language));
    trend_->applyCaptions(language);
    alarms_->setText(captionText(Caption::MenuAlarms, language));
    alarmBanner_->applyCaptions(language);
    showAlarmSet();
    refresh();
}

void MeterRec::setPorts(const std::vector<app::SystemPort>& ordered, bool windows) {
    link_.setComDevices(app::comDevicePaths(ordered, windows));
    for (int i = 0; i < portNumber_.size(); ++i) {
        QString text = QString("COM %1").arg(i + 1);
        if (!windows && i < static_cast<int>(ordered.size())) {
            const app::SystemPort& p = ordered[i];
            text += p.byIdName.empty() ? QString("   (%1)").arg(qs(p.name))
                                       : QString("   (%1, %2)").arg(qs(p.name), qs(p.byIdName));
        }
        portNumber_[i]->setText(text);
    }
}

void MeterRec::setPortCatalogue(std::function<std::vector<app::SystemPort>()> list) {
    link_.setPortCatalogue(std::move(list));
}

void MeterRec::startup(bool portNamed) {
    link_.Startup([this] { applyCaptions(state_.language); }, !portNamed);
    showPortState();
}

void MeterRec::selectPort(int n) {
    link_.SelectPort(n);
    showPortState();
}

void MeterRec::typePortName() {
    const auto name = ui_.input(
        caption(Caption::OtherPortPrompt, state_.language),
        withoutMark(captionText(Caption::OtherPort, state_.language)).remove("...").toStdString(),
        port_.portName());
    if (name && !name->empty())
        openPort(*name);
}

void MeterRec::openPort(const std::string& device) {
    link_.SelectPortByName(device);
    showPortState();
}

void MeterRec::selectBaud(int index) {
    link_.SelectBaud(index);
    showPortState();
}

void MeterRec::priceEntered() {
    const auto refused = cycle_.energy().priceEntered(pricePerKwh_->text().toStdString());
    if (!refused)
        return;
    ui_.message(refused->message);
    if (refused->boxText)
        pricePerKwh_->setText(qs(*refused->boxText));
}

void MeterRec::hoursEntered() {
    const auto refused = cycle_.energy().hoursEntered(hoursPerDay_->text().toStdString());
    if (refused)
        ui_.message(refused->message);
}

void MeterRec::showPortState() {
    comMenu_->setTitle(qs(link_.portCaption()));
    baudMenu_->setTitle(qs(link_.baudCaption()));
    std::string state =
        port_.isOpen() ? port_.portName() + "  " + port_.settings() : "no port open";
    // Why the last choice of port failed: the message box carries only "COM n not available".
    if (!link_.lastFailure().empty())
        state += "  -  " + link_.lastFailure();
    portState_->setFullText(qs(state));
}

void MeterRec::refresh() {
    const live::Readouts& r = cycle_.readouts();
    for (int i = 0; i < live::kPanels; ++i)
        panels_[i]->setText(qs(r.Panel3D2[i]));
    const char* style = !pausedBy_.isEmpty() ? kPausedPanelStyle
                        : state_.noData      ? kSilentPanelStyle
                                             : kPanelStyle;
    if (panels_[0]->styleSheet() != style)
        for (QLabel* panel : panels_)
            panel->setStyleSheet(style);
    paused_->setVisible(!pausedBy_.isEmpty());
    sampleValue_->setText(qs(r.sampleTime));
    clockValue_->setText(qs(r.clockText));
    warning_->setText(qs(r.warning));
    warning_->setVisible(r.warningVisible && !r.warning.empty());
    hold_->setText(qs(cycle_.holdCaption()));
    hold_->setVisible(r.holdVisible);
    const app::DateTime now = clock_.now();
    dateValue_->setText(QString("%1-%2-%3")
                            .arg(now.month, 2, 10, QChar('0'))
                            .arg(now.day, 2, 10, QChar('0'))
                            .arg(now.year, 4, 10, QChar('0')));
    // The port line follows the port: closed by a vanished device, open again after the
    // cycle's reset, perhaps under another device name.
    showPortState();
    showRecording();
}

void MeterRec::connectRecording() {
    cycle_.setRecordingHook(&recorder_);
    recorder_.setEntryTexts([this] {
        return datafile::EntryTexts{period_->currentText().toStdString(),
                                    hoursPerDay_->text().toStdString()};
    });
    recorder_.setApplyCaptions([this] { applyCaptions(state_.language); });
    // Each command is one call on the recorder; the status box it opens or closes leaves
    // the main window active.
    auto command = [this](void (datafile::Recorder::*action)(), bool activate) {
        return [this, action, activate] {
            (recorder_.*action)();
            showRecording();
            if (activate)
                activateWindow();
        };
    };
    connect(createDataFile_, &QAction::triggered, this, [this] {
        recorder_.CreateDataFile();
        showRecording();
    });
    connect(startRecordingMenu_, &QMenu::aboutToShow, this,
            command(&datafile::Recorder::StartRecording, false));
    connect(recordAuto_, &QAction::triggered, this, command(&datafile::Recorder::NowAuto, true));
    connect(recordManual_, &QAction::triggered, this, command(&datafile::Recorder::Manually, true));
    connect(endRecording_, &QAction::triggered, this,
            command(&datafile::Recorder::EndRecording, true));
    connect(record_, &QPushButton::clicked, this, command(&datafile::Recorder::Record, false));
    connect(recordNumber_, &QLineEdit::textEdited, this,
            [this](const QString& text) { recorder_.recordNumberTyped(text.toStdString()); });
    connect(recordNumber_, &QLineEdit::returnPressed, this,
            command(&datafile::Recorder::recordNumberEntered, false));
    connect(viewFile_, &QAction::triggered, this, &MeterRec::viewFile);
}

void MeterRec::showRecording() {
    createDataFile_->setEnabled(recorder_.createEnabled());
    createDataFile_->setText(qs(recorder_.createCaption()));
    startRecordingMenu_->setEnabled(recorder_.startEnabled());
    endRecording_->setEnabled(recorder_.endEnabled());
    record_->setVisible(recorder_.recordButtonVisible());
    recordingGroup_->setVisible(recorder_.recordingBoxesVisible());
    if (recordNumber_->text() != qs(recorder_.recordNumberText()))
        recordNumber_->setText(qs(recorder_.recordNumberText()));
    lastRecord_->setFullText(qs(recorder_.lastRecordText()));
}

void MeterRec::viewFile() {
    if (viewer_ && viewer_->isVisible()) {
        viewer_->raise();
        viewer_->activateWindow();
        return;
    }
    // The viewer holds the live cycle still while it is open; closing it lets the cycle go
    // on if it was running.
    const bool wasSampling = link_.sampling();
    if (!pauseReadings(withoutMark(viewFile_->text())))
        return;
    auto resume = [this, wasSampling] { resumeReadings(wasSampling); };
    viewer_ = new VIEW(ui_, state_.language, this);
    if (!viewer_->chooseAndOpen()) {
        delete viewer_;
        resume();
        return;
    }
    connect(viewer_, &VIEW::closed, this, resume);
    placeOver(viewer_, this);
    viewer_->show();
}

void MeterRec::openPlotWindow() {
    if (plotWindow_ && plotWindow_->isVisible()) {
        plotWindow_->raise();
        plotWindow_->activateWindow();
        return;
    }
    const bool wasSampling = link_.sampling();
    if (!pauseReadings(withoutMark(plotFile_->text())))
        return;
    if (!plotWindow_) {
        plotWindow_ = new plot::PlotFile(ui_, this);
        plotWindow_->setWindowFlag(Qt::Window);
    }
    // Resumes as the readings were when this opening paused them.
    disconnect(plotWindow_, &plot::PlotFile::closed, this, nullptr);
    connect(plotWindow_, &plot::PlotFile::closed, this,
            [this, wasSampling] { resumeReadings(wasSampling); });
    plotWindow_->setLanguage(state_.language);
    placeOver(plotWindow_, this);
    plotWindow_->show();
    plotWindow_->raise();
    plotWindow_->activateWindow();
}

bool MeterRec::pauseReadings(const QString& windowName) {
    const int language = state_.language;
    if (recorder_.recordingRunning()) {
        const QString text = captionText(Caption::PauseQuestion, language).arg(windowName);
        if (ui_.message(text.toStdString(), caption(Caption::PauseTitle, language),
                        app::Icon::Question, app::Buttons::YesNo) != app::Answer::Yes)
            return false;
    }
    link_.SetLiveSampling(0);
    beginPause(windowName);
    return true;
}

void MeterRec::resumeReadings(bool resumeSampling) {
    endPause();
    if (resumeSampling)
        link_.SetLiveSampling(1);
    refresh();
}

void MeterRec::beginPause(const QString& reason, Caption banner) {
    if (pauseDepth_++ > 0)
        return;
    pausedBy_ = reason;
    pausedBanner_ = banner;
    paused_->setFullText(captionText(banner, state_.language).arg(reason));
    if (recorder_.recordingRunning())
        ui_.statusText(kRecordingPausedText);
    trend_->pauseBegan(reason, clock_.now());
    refresh();
    // Shown at once: the work that pauses may hold the event loop for seconds.
    centralWidget()->layout()->activate();
    centralWidget()->repaint();
}

void MeterRec::endPause() {
    if (pauseDepth_ == 0 || --pauseDepth_ > 0)
        return;
    pausedBy_.clear();
    if (recorder_.recordingRunning())
        ui_.statusText(datafile::kRecordingStatusText);
    trend_->pauseEnded(clock_.now());
    refresh();
}

void MeterRec::loggerSampling(int on) {
    // Each exchange of the datalogger window holds the readings; the banner says so.
    if (on == 0 && !loggerPaused_) {
        loggerPaused_ = true;
        beginPause(withoutMark(datalogger_->text()), Caption::PausedDuring);
    }
    link_.SetLiveSampling(on);
    if (on == 1 && loggerPaused_) {
        loggerPaused_ = false;
        endPause();
    }
}

void MeterRec::getHz() {
    // The banner stays for the whole measurement and counts it down, so that the user sees
    // why nothing moves.
    beginPause(withoutMark(getHz_->text()), Caption::PausedDuring);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    cycle_.GetHz();
    QApplication::restoreOverrideCursor();
    endPause();
}

void MeterRec::showRecordingBox() {
    // The wait box is the recording box: while recording it says so again.
    if (!recorder_.recordingRunning())
        return;
    ui_.statusCaption("");
    ui_.statusText(datafile::kRecordingStatusText);
    ui_.statusShow();
}

void MeterRec::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    scaleReadouts();
}

void MeterRec::scaleReadouts() {
    if (!panels_[0])
        return;
    const double scale =
        std::clamp(std::min(width() / double(kDesignWidth), height() / double(kDesignHeight)),
                   kMinFontScale, kMaxFontScale);
    for (int i = 0; i < live::kPanels; ++i) {
        const int size = std::max(8, static_cast<int>(panelPointSizes_[i] * scale + 0.5));
        if (panels_[i]->font().pointSize() == size)
            continue;
        QFont font = panels_[i]->font();
        font.setPointSize(size);
        panels_[i]->setFont(font);
    }
}

void MeterRec::printWindow(QPrinter& printer) {
    printPicture(*this, printer);
}

void MeterRec::showPF() {
    // While waiting for a frequency the live timers run from the event loop, which the wait
    // serves between its steps; each step shows what they brought.
    beginPause(withoutMark(improvePf_->text()), Caption::PausedDuring);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const bool ready = pfimprove::PrepareHz(cycle_, clock_, ui_, [this] { refresh(); });
    QApplication::restoreOverrideCursor();
    endPause();
    showRecordingBox();
    refresh();
    if (!ready)
        return;
    if (!improvePF_) {
        improvePF_ = new pfimprove::ImprovePF(
            ui_,
            [this] {
                pfimprove::ReadoutTexts texts;
                for (std::size_t i = 0; i < texts.size(); ++i)
                    texts[i] = panels_[i]->text().toStdString();
                return texts;
            },
            this);
        improvePF_->applyCaptions(state_.language);
    }
    improvePF_->UpdateP();
    if (!improvePF_->isVisible())
        placeOver(improvePF_, this);
    improvePF_->show();
    improvePF_->raise();
    improvePF_->activateWindow();
}

void MeterRec::addTrend() {
    // The chart collects from the start, so that opening it shows the time already past.
    trend_ = new trend::TrendChart(ui_, trend::kDayOfSamples, this);
    trend_->setWindowFlag(Qt::Window);
    connect(&timer2_, &QTimer::timeout, this, [this] {
        trend_->afterPoll(
            {cycle_.readouts(), state_.noData, cycle_.noDataTicks() == 0, clock_.now()});
    });
    connect(trendButton_, &QPushButton::clicked, this, [this] {
        if (!trend_->isVisible())
            placeOver(trend_, this);
        trend_->show();
        trend_->raise();
        trend_->activateWindow();
    });
}

void MeterRec::addAlarms() {
    alarmBanner_ = new alarms::AlarmBanner(ui_, this);
    static_cast<QVBoxLayout*>(centralWidget()->layout())->insertWidget(0, alarmBanner_);
    alarmBanner_->onBeep = [this] { ui_.beep(); };
    alarmBanner_->onMark = [this](const QString& label, bool raised) {
        trend_->addMark(label, raised);
    };
    alarmBanner_->onRecordStart = [this] {
        if (!recorder_.fileCreated() || recorder_.recordingRunning())
            return; // there is no file to record into, or it is recorded into already
        recorder_.StartRecording();
        recorder_.NowAuto();
        showRecording();
    };
    alarmBanner_->onRecordStop = [this] {
        if (!recorder_.recordingRunning())
            return;
        recorder_.EndRecording();
        showRecording();
    };
    connect(&timer2_, &QTimer::timeout, this, [this] {
        alarmBanner_->afterPoll(cycle_.readouts(), cycle_.energy(), cycle_.noDataTicks() == 0);
    });
}

void MeterRec::editAlarms() {
    alarms::AlarmEditor editor(ui_, state_.language, alarmBanner_->file(), this);
    if (editor.exec() != QDialog::Accepted)
        return;
    if (editor.stopRequested()) {
        alarmBanner_->stop();
    } else if (editor.chosen()) {
        // The log goes beside the recording while one is written, else beside the set.
        const std::string log =
            alarms::logPathBeside(recorder_.recordingRunning() ? recorder_.path() : editor.file());
        const std::string error = alarmBanner_->use(editor.chosen()->set, editor.file(), log);
        if (!error.empty())
            ui_.message(error, "", app::Icon::Exclamation);
    }
    showAlarmSet();
}

void MeterRec::showAlarmSet() {
    alarmSet_->setVisible(alarmBanner_->inUse());
    if (!alarmBanner_->inUse())
        return;
    const QString path = QString::fromStdString(alarmBanner_->file());
    alarmSet_->setText(captionText(Caption::AlarmSetInUse, state_.language)
                           .arg(QFileInfo(path).fileName())
                           .arg(alarmBanner_->alarmCount()));
    alarmSet_->setToolTip(path);
}

bool MeterRec::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonDblClick &&
        (watched == sampleCaption_ || watched == sampleValue_)) {
        cycle_.SampleRate();
        refresh();
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

void MeterRec::closeEvent(QCloseEvent* event) {
    // Exit: close the port, whatever it says, and end at once.
    link_.SetLiveSampling(0);
    port_.close();
    event->accept();
    QApplication::quit();
}

} // namespace pa::ui
