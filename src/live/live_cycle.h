// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The live measurement cycle behind the main window's two timers.
//
// Timer1, the sample clock, keeps the clock text hh:mm:ss.s, decides when a sample is due and
// realigns itself to the wall clock. Timer2 polls every 200 ms: with a whole frame waiting it
// reads it, at once asks for the next with " ", decodes the four display blocks and derives
// VA, VAR, phase angle, energy and cost; with none it counts silent ticks, warns after five
// and resets the port after ten.
#include "app/clock.h"
#include "app/port.h"
#include "app/program_state.h"
#include "app/ui.h"
#include "live/energy_cost.h"
#include "live/frame_decoder.h"

#include <array>
#include <functional>
#include <string>

namespace pa::live {

// Panel3D2 indexes.
enum Panel { kW, kPF, kV, kA, kAngle, kVA, kVAR, kHz, kKWH, kEnergyPerPeriod, kCost, kPanels };

inline constexpr int kPollMs = 200;                 // Timer2
inline constexpr int kFirstSampleMs = 2000;         // Timer1 before its first realignment
inline constexpr int kFrameThreshold = 20;          // bytes waiting that count as a frame
inline constexpr int kWarnAfterTicks = 5;           // silent poll ticks before NO COM
inline constexpr int kResetAfterTicks = 10;         // silent poll ticks before the port reset
inline constexpr int kMinRealignMs = 100;           // shortest Timer1 interval after realigning
inline constexpr double kMaxSamplingTime = 13106.8; // 32767 ticks of 0.4 s
inline constexpr double kHzSettlePause = 0.5;       // lets a frame in progress finish
inline constexpr double kHzMeasurePause = 5.0;      // the instrument measures
inline constexpr char kFrequencyRequest = '\xF5';
inline constexpr double kHzCountdownStep = 0.25; // Get Hz's waits report their progress

// What the main window shows; the window copies these into its controls.
struct Readouts {
    std::array<std::string, kPanels> Panel3D2;
    std::string sampleTime = "1.0 SEC"; // Label1(1)
    std::string clockText;              // Label1(3)
    std::string warning;                // the no-data label's text
    bool warningVisible = false;
    bool holdVisible = false;
};

// Where the cycle hands records to the recording file.
class RecordingHook {
  public:
    virtual ~RecordingHook() = default;
    virtual bool fileCreated() const = 0;
    virtual bool recordingRunning() const = 0; // End Recording is enabled
    virtual bool manualMode() const = 0;
    virtual void appendRecord(const std::string& clockText) = 0;
    virtual void appendLostCommunication(const std::string& clockText) = 0;
};

class LiveCycle {
  public:
    LiveCycle(app::Port& port, app::Clock& clock, app::Ui& ui, app::ProgramState& state);

    // Suspends or resumes the live exchange (the main window's SetLiveSampling).
    void setLiveSampling(std::function<void(int)> liveSampling) {
        liveSampling_ = std::move(liveSampling);
    }
    void setRecordingHook(RecordingHook* hook) { hook_ = hook; }
    // The port reset after a silence (close and open again); by default the port itself.
    void setPortReset(std::function<void()> reset) { portReset_ = std::move(reset); }
    // Told, before each step of Get Hz's waits, how many seconds are left of the total.
    void setWaitListener(std::function<void(double left, double total)> listener) {
        onWait_ = std::move(listener);
    }
    // Called once per new clock text after a decoded frame, with the panels up to date.
    void setSampleListener(std::function<void()> listener) { onSample_ = std::move(listener); }
    // The captions of the current language for the no-data warning and the HOLD indicator.
    void setCaptions(std::string noData, std::string hold);
    const std::string& holdCaption() const { return holdCaption_; }

    // Timer1 tick; returns the interval in ms for Timer1's next tick.
    int Timer1Tick();
    void Timer2Tick();

    // The Sample Rate item: asks for the sampling time and applies it.
    void SampleRate();
    // Applies a typed sampling time ("5", "0,4", "20000"); an empty text changes nothing.
    void applySamplingTime(std::string text);

    // The Get Hz button: suspends sampling, asks the instrument for its frequency, shows it.
    void GetHz();
    // Record button in manual mode.
    void requestRecord() { recordDue_ = true; }

    EnergyCost& energy() { return energy_; }
    // Reset KWH: the count restarts from zero and the panel shows it at once.
    void resetKwh();
    const Readouts& readouts() const { return readouts_; }
    double samplingTime() const { return samplingTime_; }
    int sampleNumber() const { return sampleNumber_; }
    int noDataTicks() const { return noDataTicks_; }

  private:
    void slowPcWarning();
    // Pauses seconds in steps, telling the wait listener how much of total is left.
    void countedPause(double seconds, double& left, double total);
    void decodeFrame(const std::string& buffer);
    void routeBlock(const BlockReading& reading);
    void updateCost();

    app::Port& port_;
    app::Clock& clock_;
    app::Ui& ui_;
    app::ProgramState& state_;
    std::function<void(int)> liveSampling_;
    std::function<void()> onSample_;
    std::function<void()> portReset_;
    std::function<void(double, double)> onWait_;
    RecordingHook* hook_ = nullptr;
    std::string noDataCaption_ = "NO COM", holdCaption_ = "HOLD";

    Readouts readouts_;
    EnergyCost energy_;
    BlockReading reading_; // one reading, kept from block to block
    double samplingTime_ = 1.0;
    float sampleTime_ = 0; // seconds since midnight of the last Timer1 tick
    int sampleNumber_ = 0;
    int noDataTicks_ = 0;
    int arrived_ = 0; // bit 1 voltage, bit 2 current
    std::string lastIntegrated_, lastRecorded_;
    bool recordDue_ = false;
};

} // namespace pa::live
