// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "serial_line.h"

#include <cstdint>

namespace pa::sim {

namespace {

constexpr int kBitsPerCharacter = 10; // start, 8 data, stop

// The line level during one sender bit slot: idle (high) before and after the data.
class Line {
  public:
    explicit Line(const std::string& bytes) : bytes_(bytes) {}

    bool level(std::int64_t slot) const {
        if (slot < 0 || slot >= static_cast<std::int64_t>(bytes_.size()) * kBitsPerCharacter)
            return true;
        const auto byte = static_cast<unsigned char>(bytes_[slot / kBitsPerCharacter]);
        const int bit = static_cast<int>(slot % kBitsPerCharacter);
        if (bit == 0)
            return false; // start bit
        if (bit == 9)
            return true; // stop bit
        return ((byte >> (bit - 1)) & 1) != 0;
    }
    std::int64_t slots() const {
        return static_cast<std::int64_t>(bytes_.size()) * kBitsPerCharacter;
    }

  private:
    const std::string& bytes_;
};

} // namespace

std::string resampleLine(const std::string& bytes, int senderBaud, int receiverBaud) {
    if (senderBaud <= 0 || receiverBaud <= 0)
        return {};

    // Time in units where a sender bit lasts receiverBaud ticks and a receiver bit lasts
    // senderBaud ticks, so every instant the receiver samples is a whole number of ticks
    // (doubled to keep the half-bit sample points whole as well).
    const std::int64_t senderBit = 2LL * receiverBaud;
    const std::int64_t receiverBit = 2LL * senderBaud;
    const Line line(bytes);
    auto levelAt = [&](std::int64_t t) { return line.level(t / senderBit); };

    std::string received;
    std::int64_t ready = -1; // the receiver hunts for a start bit after this instant
    while (true) {
        // The line can only fall at the start of a sender slot.
        std::int64_t slot = ready < 0 ? 0 : ready / senderBit + 1;
        while (slot < line.slots() && !(line.level(slot - 1) && !line.level(slot)))
            ++slot;
        if (slot >= line.slots())
            break;
        const std::int64_t edge = slot * senderBit;
        const auto sample = [&](int bit) {
            return levelAt(edge + bit * receiverBit + receiverBit / 2);
        };

        if (sample(0)) { // a glitch shorter than half a bit: no start bit
            ready = edge + receiverBit / 2;
            continue;
        }
        unsigned value = 0;
        for (int bit = 0; bit < 8; ++bit)
            value |= (sample(bit + 1) ? 1u : 0u) << bit;
        received.push_back(static_cast<char>(value));
        ready = edge + 9 * receiverBit + receiverBit / 2;
    }
    return received;
}

} // namespace pa::sim
