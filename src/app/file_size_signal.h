// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A file-size limit (ulimit -f) would otherwise kill the program with SIGXFSZ in the middle
// of a write, leaving half a line behind. Ignored, the write fails with EFBIG instead, and the
// data file code takes the partial line back and says "File too large".
#include <csignal>

namespace pa::app {

inline void ignoreFileSizeSignal() {
#ifdef SIGXFSZ
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}

} // namespace pa::app
