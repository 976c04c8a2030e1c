// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The texts of the messages a scripted interface was shown, in order.
#include "support/scripted_ui.h"

#include <string>
#include <vector>

namespace pa::testing {

inline std::vector<std::string> messageTexts(const ScriptedUi& ui) {
    std::vector<std::string> texts;
    for (const ShownMessage& m : ui.messages)
        texts.push_back(m.text);
    return texts;
}

} // namespace pa::testing
