// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// What a serial receiver makes of bytes sent at another speed.
#include <string>

namespace pa::sim {

// The bytes a receiver set to receiverBaud reads from a line on which the bytes were sent
// back to back at senderBaud, both 8 data bits, no parity, 1 stop bit. Equal speeds give
// the bytes unchanged; a speed of 0 or less (a hung-up line) gives nothing.
//
// The receiver is modelled as a UART: it waits for a falling edge, samples the start bit
// and each following bit in the middle of its bit time, and after a byte hunts for the
// next falling edge from its stop-bit sample. A byte whose start bit is not low at its
// middle is a false start and is dropped; a byte with a low stop bit is delivered as
// sampled (a port without parity checking does not discard framing errors).
std::string resampleLine(const std::string& bytes, int senderBaud, int receiverBaud);

} // namespace pa::sim
