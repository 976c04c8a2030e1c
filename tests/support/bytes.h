// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Bytes from their values, for what goes over a serial line.
#include <initializer_list>
#include <string>

namespace pa::testing {

inline std::string bytes(std::initializer_list<int> values) {
    std::string s;
    for (int v : values)
        s.push_back(static_cast<char>(v));
    return s;
}

} // namespace pa::testing
