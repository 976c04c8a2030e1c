// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "support/scripted_ui.h"

namespace pa::testing {
namespace {

template <typename T> T take(std::deque<T>& queue, T fallback) {
    if (queue.empty())
        return fallback;
    T value = queue.front();
    queue.pop_front();
    return value;
}

} // namespace

app::Answer ScriptedUi::message(const std::string& text, const std::string& title, app::Icon icon,
                                app::Buttons buttons) {
    messages.push_back({text, title, icon, buttons});
    return take(answers, app::Answer::Ok);
}

std::optional<std::string> ScriptedUi::input(const std::string& prompt, const std::string& title,
                                             const std::string& defaultText) {
    asked.push_back({prompt, title, defaultText});
    return take(inputs, std::optional<std::string>{});
}

std::optional<std::string> ScriptedUi::openFile(const std::string&, const std::string&) {
    return take(files, std::optional<std::string>{});
}

std::optional<std::string> ScriptedUi::saveFile(const std::string&, const std::string&) {
    return take(files, std::optional<std::string>{});
}

void ScriptedUi::statusText(const std::string& text) {
    statusTextNow = text;
    statusTexts.push_back(text);
    ++statusUpdates;
}

} // namespace pa::testing
