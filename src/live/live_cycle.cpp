// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "live/live_cycle.h"

#include "text/leading_number.h"
#include "text/mask_format.h"

#include <algorithm>
#include <cmath>

namespace pa::live {
namespace {

using text::formatMask;
using text::leadingNumber;

bool isOverloadWord(const std::string& value) {
    return value == "OL" || value == "-OL" || value == "Init";
}

// The arc cosine of the power factor in degrees, computed as the instrument's program does,
// with pi/2 and pi rounded to 1.5708 and 3.1416 so that angles match its displays.
double phaseAngle(double pf) {
    if (pf == 1)
        return 0;
    return (std::atan(-pf / std::sqrt(1 - pf * pf)) + 1.5708) * 180 / 3.1416;
}

// The frequency panel's text: a block value in kilohertz, in hertz in general format.
std::string hzText(const std::string& value) {
    return text::formatGeneral(leadingNumber(value) * 1000) + "Hz";
}

} // namespace

LiveCycle::LiveCycle(app::Port& port, app::Clock& clock, app::Ui& ui, app::ProgramState& state)
    : port_(port), clock_(clock), ui_(ui), state_(state) {}

void LiveCycle::setCaptions(std::string noData, std::string hold) {
    noDataCaption_ = std::move(noData);
    holdCaption_ = std::move(hold);
    if (readouts_.warningVisible && !readouts_.warning.empty())
        readouts_.warning = noDataCaption_;
}

int LiveCycle::Timer1Tick() {
    const float t = static_cast<float>(clock_.secondsSinceMidnight());
    sampleTime_ = t;
    bool due = true;
    if (state_.wholeSecondMode == 1) {
        state_.sampleTickCounter += 1;
        if (state_.sampleTickCounter < samplingTime_)
            due = false;
        else
            state_.sampleTickCounter = 0;
    }
    if (due) {
        sampleNumber_ = static_cast<int>(t / samplingTime_ + 0.5);
        readouts_.holdVisible = false;
        readouts_.warningVisible = false;
        const int hours = static_cast<int>(t / 3600);
        const int minutes = static_cast<int>(std::fmod(t, 3600.0f) / 60);
        const double seconds = std::fmod(t, 60.0f);
        readouts_.clockText = formatMask(hours, "#00") + ":" + formatMask(minutes, "#00") + ":" +
                              formatMask(seconds, "#00.00").substr(0, 4);
    }
    // Realign the next tick to the wall clock's period boundary.
    const long long ms = std::llround(clock_.secondsSinceMidnight() * 1000.0);
    int interval = state_.tickPeriod - static_cast<int>(ms % state_.tickPeriod);
    if (interval < kMinRealignMs)
        interval += state_.tickPeriod;
    return interval;
}

void LiveCycle::Timer2Tick() {
    if (port_.bytesWaiting() < kFrameThreshold) {
        ++noDataTicks_;
        if (noDataTicks_ > kWarnAfterTicks) {
            readouts_.warning = noDataCaption_;
            readouts_.warningVisible = true;
            state_.noData = true;
            if (hook_ && hook_->recordingRunning() && readouts_.clockText != lastRecorded_) {
                hook_->appendLostCommunication(readouts_.clockText);
                lastRecorded_ = readouts_.clockText;
            }
        }
        if (noDataTicks_ > kResetAfterTicks) {
            // A vanished device fails to reopen quietly; the next reset tries again, so a
            // replugged cable brings the readings back by itself.
            ui_.beep();
            if (portReset_) {
                portReset_();
            } else {
                port_.close();
                port_.open();
            }
            port_.write(" ");
            noDataTicks_ = 0;
        }
        recordDue_ = false;
        return;
    }
    noDataTicks_ = 0;
    state_.noData = false;
    readouts_.warning.clear();

    const std::string buffer = port_.readAll();
    port_.write(" "); // ask for the next frame at once
    decodeFrame(buffer);
    updateCost();

    if (readouts_.clockText != lastIntegrated_) {
        energy_.integrate(leadingNumber(readouts_.Panel3D2[kW]), samplingTime_);
        readouts_.Panel3D2[kKWH] = formatMask(energy_.kwh(), "######0.0###");
        lastIntegrated_ = readouts_.clockText;
        if (onSample_)
            onSample_();
    }

    if (hook_ && hook_->fileCreated() && hook_->recordingRunning() && !hook_->manualMode() &&
        readouts_.clockText != lastRecorded_)
        recordDue_ = true;
    if (recordDue_ && hook_) {
        hook_->appendRecord(readouts_.clockText);
        lastRecorded_ = readouts_.clockText;
    }
    recordDue_ = false;
}

void LiveCycle::decodeFrame(const std::string& received) {
    // The program measures the STX position in bytes of a two-byte-per-character text and
    // keeps the last 2 * (length - index) characters: the whole buffer unless STX lies in
    // its second half.
    std::string_view buffer = received;
    const std::size_t stx = buffer.find('\x02');
    if (stx != std::string_view::npos) {
        const std::size_t keep = 2 * (buffer.size() - stx);
        if (keep < buffer.size())
            buffer = buffer.substr(buffer.size() - keep);
    }
    // Block i starts at byte i * 5 + 1 (after the start character); a block cut short by the
    // end of the buffer is left out.
    for (std::size_t i = 0; i < 4; ++i) {
        const std::size_t at = i * 5 + 1;
        if (at + 3 > buffer.size())
            break;
        DecodeBlock(buffer.substr(at, 3), reading_);
        routeBlock(reading_);
    }
}

void LiveCycle::routeBlock(const BlockReading& r) {
    auto& panel = readouts_.Panel3D2;
    if (r.hold)
        readouts_.holdVisible = true;
    if (r.function == "W") {
        panel[kW] = r.value;
    } else if (r.function == "PF") {
        panel[kPF] = r.value;
        const double p = std::min(leadingNumber(r.value), 1.0);
        panel[kAngle] = !isOverloadWord(r.value) && p >= 0 && p <= 1
                            ? formatMask(phaseAngle(p), "###0.0")
                            : "?";
    } else if (r.function == "DCV") {
        panel[kV] = r.value;
        arrived_ |= 2;
    } else if (r.function == "DCA") {
        panel[kA] = r.value;
        arrived_ |= 4;
        if ((arrived_ & 6) == 6) {
            const double va = leadingNumber(panel[kV]) * leadingNumber(panel[kA]);
            panel[kVA] = formatMask(va, "######0.00");
            const double w = leadingNumber(panel[kW]);
            const double q = std::max(va * va - w * w, 0.0);
            panel[kVAR] = formatMask(std::sqrt(q), "######0.00");
            arrived_ = 0;
        }
    } else if (r.function == "FREQ") {
        panel[kHz] = hzText(r.value);
    }
}

void LiveCycle::updateCost() {
    const double w = leadingNumber(readouts_.Panel3D2[kW]);
    const double perPeriod = energy_.energyPerPeriod(w);
    readouts_.Panel3D2[kEnergyPerPeriod] = formatMask(perPeriod, "######0.00");
    readouts_.Panel3D2[kCost] = "$" + formatMask(energy_.price() * perPeriod, "######0.00");
}

void LiveCycle::resetKwh() {
    energy_.resetKwh();
    readouts_.Panel3D2[kKWH] = "0.00";
}

void LiveCycle::SampleRate() {
    const auto answer =
        ui_.input("Enter the SAMPLING TIME in seconds\r\n\r\nThe value can be 0.4 or any other "
                  "integer (max. 13106.8).",
                  "Input Sampling Time", formatMask(samplingTime_, "#0.0"));
    if (answer)
        applySamplingTime(*answer);
}

void LiveCycle::applySamplingTime(std::string text) {
    if (text.empty())
        return;
    if (const auto comma = text.find(','); comma != std::string::npos)
        text[comma] = '.'; // a decimal comma is accepted
    double t = std::min(leadingNumber(text), kMaxSamplingTime);
    if (t < 1) {
        // The prompt offers 0.4; half a second is what runs.
        t = 0.5;
        state_.wholeSecondMode = 0;
        state_.tickPeriod = 500;
        state_.sampleTickCounter = 0;
    } else {
        t = std::floor(t);
        state_.wholeSecondMode = 1;
        state_.tickPeriod = 1000;
        state_.sampleTickCounter = static_cast<int>(t) - 1; // first sample at the next tick
    }
    samplingTime_ = t;
    readouts_.sampleTime = formatMask(t, "#0.0") + " SEC";
    slowPcWarning();
}

void LiveCycle::slowPcWarning() {
    if (leadingNumber(readouts_.sampleTime) <= 1 && state_.slowPcFlag == 1)
        ui_.message("Because you are using a slow PC and selected a sampling time <= 1 sec."
                    ", please open only ONE of the LIST, GRAPHIC or ANALOG DISPLAYS",
                    "Warning", app::Icon::Exclamation);
}

void LiveCycle::countedPause(double seconds, double& left, double total) {
    if (!onWait_) {
        clock_.pause(seconds);
        left -= seconds;
        return;
    }
    while (seconds > 1e-9) {
        const double step = std::min(seconds, kHzCountdownStep);
        onWait_(left, total);
        clock_.pause(step);
        seconds -= step;
        left -= step;
    }
}

void LiveCycle::GetHz() {
    if (liveSampling_)
        liveSampling_(0);
    const double total = kHzSettlePause + kHzMeasurePause;
    double left = total;
    countedPause(kHzSettlePause, left, total);
    port_.readAll(); // drop whatever was still arriving
    port_.write(std::string(1, kFrequencyRequest));
    countedPause(kHzMeasurePause, left, total);
    if (onWait_)
        onWait_(0, total);
    const std::string reply = port_.readAll();
    if (reply.size() == 5) {
        // Bytes 2-4 are one display block in kilohertz.
        DecodeBlock(std::string_view(reply).substr(1, 3), reading_);
        if (reading_.hold)
            readouts_.holdVisible = true; // the same decoder, so a HOLD code raises the label
        readouts_.Panel3D2[kHz] = hzText(reading_.value);
    } else {
        ui_.message("Please press the Get Hz button again");
    }
    if (liveSampling_)
        liveSampling_(1);
}

} // namespace pa::live
