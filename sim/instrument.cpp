// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "instrument.h"

#include "serial_line.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace pa::sim {

namespace {

struct BaudCharacter {
    char command;
    int baud;
};
constexpr BaudCharacter kBaudCharacters[] = {{'9', 9600}, {'4', 4800}, {'2', 2400}, {'1', 1200}};

// Garbage replies: up to this many bytes, and runs of 0xFF of up to this length.
constexpr int kMaxGarbageBytes = 48;
constexpr int kMaxFfRun = 12;

void appendBlock(std::string& out, const BlockWord& block, bool withUnusedBytes) {
    out.push_back(static_cast<char>(block.code));
    out.push_back(static_cast<char>(block.word & 0xFF));
    out.push_back(static_cast<char>(block.word >> 8));
    if (withUnusedBytes)
        out.append(2, '\0');
}

} // namespace

Instrument::Instrument(Load load, unsigned seed) : load_(load), random_(seed) {}

Instrument::Handler Instrument::handlerFor(char command) {
    static constexpr struct {
        char command;
        Handler handler;
    } kCommands[] = {
        {kFrameRequest, &Instrument::onFrameRequest},
        {kFrequencyRequest, &Instrument::onFrequencyRequest},
        {'9', &Instrument::onBaudCharacter},
        {'4', &Instrument::onBaudCharacter},
        {'2', &Instrument::onBaudCharacter},
        {'1', &Instrument::onBaudCharacter},
    };
    for (const auto& row : kCommands) {
        if (row.command == command)
            return row.handler;
    }
    return nullptr;
}

std::string Instrument::receive(const std::string& fromPc, int lineBaud) {
    std::string answer;
    for (char c : fromPc) {
        if (logger_.takes(c)) {
            answer += resampleLine(applyLoggerFault(logger_.receive(c)), baud_, lineBaud);
            continue;
        }
        const Handler handler = handlerFor(c);
        if (!handler)
            continue;
        ++requestsServed_;
        // Each reply leaves at the speed the instrument has when it answers.
        answer += resampleLine((this->*handler)(c), baud_, lineBaud);
    }
    return answer;
}

std::string Instrument::onFrameRequest(char) {
    if (fault_ == Fault::None)
        ++framesSent_;
    return applyFault(liveFrame());
}

std::string Instrument::onFrequencyRequest(char) {
    return applyFault(frequencyReply());
}

std::string Instrument::onBaudCharacter(char command) {
    for (const BaudCharacter& b : kBaudCharacters) {
        if (b.command == command)
            baud_ = b.baud;
    }
    return {};
}

void Instrument::setDisplay(Display display) {
    if (display == Display::Hold && display_ != Display::Hold)
        held_ = last_ ? *last_ : measure();
    display_ = display;
}

std::string Instrument::liveFrame() {
    const Reading reading = shown(measure());
    std::string frame(1, kStx);
    for (const BlockWord& block : reading.live)
        appendBlock(frame, block, true);
    return frame;
}

std::string Instrument::frequencyReply() {
    const Reading reading = shown(measure());
    std::string reply(1, kStx);
    appendBlock(reply, reading.frequency, false);
    reply.push_back(kEtx);
    return reply;
}

double Instrument::noisy(double value) {
    // Drawn from the generator's raw output so that a seed gives the same readings with
    // every standard library.
    const double u = static_cast<double>(random_() - std::mt19937::min()) /
                     static_cast<double>(std::mt19937::max() - std::mt19937::min());
    return value * (1.0 + load_.noise * (2.0 * u - 1.0));
}

Instrument::Reading Instrument::measure() {
    const double volts = noisy(load_.volts);
    double amps = load_.amps;
    if (load_.swing != 0 && load_.swingPeriod > 0) {
        const double phase =
            static_cast<double>(measurements_) / kFramesPerSecond / load_.swingPeriod;
        amps *= 1.0 + load_.swing * std::sin(2.0 * std::numbers::pi * phase);
    }
    ++measurements_;
    amps = noisy(amps);
    const double pf = std::clamp(noisy(load_.powerFactor), -1.0, 1.0);
    const double kilohertz = std::max(0.0, noisy(load_.hertz)) / 1000.0;
    Reading r;
    r.live = {showOnRange(volts * amps * pf, kWattRanges), showOnRange(pf, kPowerFactorRanges),
              showOnRange(volts, kVoltRanges), showOnRange(amps, kAmpRanges)};
    // The frequency block's bit 0 is the unit, not a sign: clear for kHz.
    r.frequency = showOnRange(kilohertz, kKilohertzRanges);
    r.frequency.word &= ~1u;
    last_ = r;
    return r;
}

// The measured reading as the display state shows it.
Instrument::Reading Instrument::shown(const Reading& measured) const {
    Reading r = measured;
    auto each = [&r](auto change) {
        for (BlockWord& b : r.live)
            change(b);
        change(r.frequency);
    };
    switch (display_) {
    case Display::Normal:
        break;
    case Display::Hold:
        r = held_.value_or(measured);
        each([](BlockWord& b) { b.code = kHoldCode; });
        break;
    case Display::Overload:
        each([](BlockWord& b) { b.word = encodeOverload((b.word & 1) != 0, b.word >> 14); });
        break;
    case Display::StartUp:
        each([](BlockWord& b) { b.word = kStartUpWord; });
        break;
    }
    return r;
}

int Instrument::draw(int low, int high) {
    return low + static_cast<int>(random_() % static_cast<unsigned>(high - low + 1));
}

// The line faults reach the logger's replies too; the logger's own faults are in the
// logger model.
std::string Instrument::applyLoggerFault(std::string reply) {
    return reply.empty() ? reply : applyFault(std::move(reply));
}

std::string Instrument::applyFault(std::string reply) {
    switch (fault_) {
    case Fault::None:
        return reply;
    case Fault::Silent:
        return {};
    case Fault::Truncated:
        reply.resize(std::min<std::size_t>(reply.empty() ? 0 : reply.size() - 1, truncatedLength_));
        return reply;
    case Fault::Garbage:
        break;
    }
    std::string garbage;
    const int n = draw(1, kMaxGarbageBytes);
    while (static_cast<int>(garbage.size()) < n) {
        if (draw(0, 7) == 0)
            garbage.append(draw(2, kMaxFfRun), '\xFF');
        else
            garbage.push_back(static_cast<char>(draw(0, 255)));
    }
    garbage.resize(n);
    return garbage;
}

} // namespace pa::sim
