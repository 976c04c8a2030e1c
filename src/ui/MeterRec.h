// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The main window: the live readouts, the cost estimate, the status line and the menu bar
// from which every other window is reached. It turns user actions into calls on the link
// (port, baud, suspend/resume) and on the live cycle, and shows their state.
#include "app/meter_link.h"
#include "app/port_catalog.h"
#include "app/program_state.h"
#include "datafile/recorder.h"
#include "live/live_cycle.h"
#include "ui/ElidedLabel.h"
#include "ui/VIEW.h"
#include "ui/captions.h"

#include <QAction>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <array>
#include <functional>
#include <vector>

class QPrinter;
namespace pa::plot {
class PlotFile;
}

namespace pa::pfimprove {
class ImprovePF;
}

namespace pa::logger {
class Logger;
}

namespace pa::trend {
class TrendChart;
}

namespace pa::alarms {
class AlarmBanner;
}

namespace pa::ui {

class MeterRec : public QMainWindow {
    Q_OBJECT
  public:
    MeterRec(app::ProgramState& state, app::Port& port, app::Clock& clock, app::Ui& ui,
             QWidget* parent = nullptr);

    // Lists the COM menu: the system's ports in menu order, then any extra (simulated) ones.
    void setPorts(const std::vector<app::SystemPort>& ordered, bool windows);
    // Lists the system's ports as they are now (for an adapter that comes back elsewhere).
    void setPortCatalogue(std::function<std::vector<app::SystemPort>()> list);
    // Runs the start-up sequence; the caller shows the window afterwards. With portNamed (a
    // port given on the command line, opened by the caller next) there is no port prompt.
    void startup(bool portNamed = false);
    // Applies the captions of a language (1 English, 2 Chinese) to every control.
    void applyCaptions(int language);
    // Opens a port by device path or name, as the COM menu's "Other port..." item does.
    void openPort(const std::string& device);
    // Prints the window as a picture, scaled to the page.
    void printWindow(QPrinter& printer);
    // The "&Improve PF" item: Get Hz, then the PF improvement window (nullptr until opened).
    void showPF();
    pfimprove::ImprovePF* improvePF() const { return improvePF_; }

    app::MeterLink& link() { return link_; }
    live::LiveCycle& cycle() { return cycle_; }
    datafile::Recorder& recorder() { return recorder_; }
    // File > View File: pauses the live cycle and opens the viewer on a chosen data file.
    void viewFile();
    VIEW* viewer() const { return viewer_; }
    QTimer& timer1() { return timer1_; }
    QTimer& timer2() { return timer2_; }
    QLabel* panel(int index) const { return panels_[index]; }
    // The datalogger window (created on first use), shown without being modal.
    logger::Logger* openLogger();
    // The trend chart: always collecting, shown by the Trend button.
    trend::TrendChart* trendChart() const { return trend_; }
    // Option > Alarms...: the editor, then the set it gives in use (or none).
    void editAlarms();
    alarms::AlarmBanner* alarmBanner() const { return alarmBanner_; }
    // The banner that names what holds the readings still (hidden while they run).
    QLabel* pauseBanner() const { return paused_; }

  protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void buildMenus();
    void buildBody();
    QWidget* buildReadings();
    QWidget* buildCostAndButtons();
    QWidget* buildStatus();
    void selectPort(int n);
    void typePortName();
    void selectBaud(int index);
    void priceEntered();
    void hoursEntered();
    void showPortState();
    void refresh();
    // "&Plot Data from File": the live cycle pauses while the plot window is open.
    void openPlotWindow();
    plot::PlotFile* plotWindow_ = nullptr;
    void connectRecording();
    // Get Hz behind the "Getting Hz" box, which counts the seconds down.
    void getHz();
    // After a wait box: the status box shows "Recording !" again while recording.
    void showRecordingBox();
    // The viewer and the plot window hold the live readings still. While recording, the
    // user is asked first (false: not now); the main window shows the pause until resumed.
    bool pauseReadings(const QString& windowName);
    void resumeReadings(bool resumeSampling);
    // Every hold of the live readings, whatever its reason (Get Hz, a datalogger exchange,
    // the viewer, the plot window): the banner names the reason, the readouts grey, the
    // recording box says so and the trend shows the time as a gap. The first reason holds
    // until its end; a nested hold only adds to the count.
    void beginPause(const QString& reason, Caption banner = Caption::PausedLabel);
    void endPause();
    int pauseDepth_ = 0;
    bool loggerPaused_ = false;
    // The datalogger turns the live sampling off for its exchanges and on again after them.
    void loggerSampling(int on);
    // The readouts' fonts follow the window's size.
    void scaleReadouts();
    // Enabled items, the Record button and the recording boxes as the recorder's state says.
    void showRecording();

    app::ProgramState& state_;
    app::Port& port_;
    app::Clock& clock_;
    app::Ui& ui_;
    app::MeterLink link_;
    live::LiveCycle cycle_;
    datafile::Recorder recorder_;
    QPointer<VIEW> viewer_;
    QTimer timer1_; // sample clock
    QTimer timer2_; // poll

    // Menus.
    QMenu* fileMenu_ = nullptr;
    QMenu* optionMenu_ = nullptr;
    QMenu* comMenu_ = nullptr;
    QMenu* baudMenu_ = nullptr;
    QMenu* languageMenu_ = nullptr;
    QMenu* helpMenu_ = nullptr;
    QMenu* manualMenu_ = nullptr;
    QMenu* startRecordingMenu_ = nullptr;
    QAction* createDataFile_ = nullptr;
    QAction* recordAuto_ = nullptr;
    QAction* recordManual_ = nullptr;
    QAction* endRecording_ = nullptr;
    QAction* viewFile_ = nullptr;
    QAction* plotFile_ = nullptr;
    QAction* printerSetup_ = nullptr;
    QAction* exit_ = nullptr;
    QAction* improvePf_ = nullptr;
    QAction* datalogger_ = nullptr;
    QAction* sampleRate_ = nullptr;
    QAction* english_ = nullptr;
    QAction* chinese_ = nullptr;
    QAction* about_ = nullptr;
    QAction* otherPort_ = nullptr;
    QList<QAction*> portNumber_; // index 0 is "COM 1"
    QList<QAction*> baudRate_;

    // Body.
    std::array<QLabel*, live::kPanels> panels_{};    // Panel3D2
    std::array<QGroupBox*, live::kPanels> titles_{}; // the titled boxes around them
    QComboBox* period_ = nullptr;                    // Combo1
    QLineEdit* hoursPerDay_ = nullptr;               // set_hrs_per_day
    QLineEdit* pricePerKwh_ = nullptr;               // set_d_per_kwh
    QLabel* hoursLabel_ = nullptr;
    QLabel* priceLabel_ = nullptr;
    QPushButton* record_ = nullptr;
    QPushButton* getHz_ = nullptr;
    QPushButton* reset_ = nullptr;
    QPushButton* print_ = nullptr;
    QWidget* recordingGroup_ = nullptr;
    QLabel* serialNumberCaption_ = nullptr;
    QLineEdit* recordNumber_ = nullptr; // Text1
    QLabel* lastRecordCaption_ = nullptr;
    ElidedLabel* lastRecord_ = nullptr; // Label2
    QLabel* sampleCaption_ = nullptr;   // Label1(0)
    QLabel* sampleValue_ = nullptr;     // Label1(1)
    QLabel* modelCaption_ = nullptr;
    QLabel* modelValue_ = nullptr;
    QLabel* dateCaption_ = nullptr;
    QLabel* dateValue_ = nullptr;
    QLabel* timeCaption_ = nullptr;
    QLabel* clockValue_ = nullptr; // Label1(3)
    QLabel* warning_ = nullptr;    // Warning
    QLabel* hold_ = nullptr;       // hold
    ElidedLabel* portState_ = nullptr;
    ElidedLabel* paused_ = nullptr; // says what holds the readings still
    QString pausedBy_;              // that window's name; empty while the readings run
    Caption pausedBanner_ = Caption::PausedLabel;
    std::array<int, live::kPanels> panelPointSizes_{}; // at the window's first size

    void addTrend();
    trend::TrendChart* trend_ = nullptr;
    QPushButton* trendButton_ = nullptr;

    void addAlarms();
    void showAlarmSet();
    alarms::AlarmBanner* alarmBanner_ = nullptr;
    QAction* alarms_ = nullptr;
    QLabel* alarmSet_ = nullptr; // the set in use, in the status line

    pfimprove::ImprovePF* improvePF_ = nullptr; // created on first use
    QPointer<logger::Logger> logger_;
};

} // namespace pa::ui
