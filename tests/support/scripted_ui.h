// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A Ui that records every request and answers from a script, so tests never meet a real
// dialog. Unscripted questions get OK / cancel.
#include "app/ui.h"

#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace pa::testing {

struct ShownMessage {
    std::string text, title;
    app::Icon icon;
    app::Buttons buttons;
};

// One input box as it was put to the user.
struct AskedInput {
    std::string prompt, title, defaultText;
    bool operator==(const AskedInput&) const = default;
};

// The next scripted answer, or the fallback once the script has run out.
template <typename T> T take(std::deque<T>& queue, T fallback) {
    if (queue.empty())
        return fallback;
    T value = queue.front();
    queue.pop_front();
    return value;
}

class ScriptedUi : public app::Ui {
  public:
    app::Answer message(const std::string& text, const std::string& title, app::Icon icon,
                        app::Buttons buttons) override {
        messages.push_back({text, title, icon, buttons});
        return take(answers, app::Answer::Ok);
    }
    std::optional<std::string> input(const std::string& prompt, const std::string& title,
                                     const std::string& defaultText) override {
        asked.push_back({prompt, title, defaultText});
        return take(inputs, std::optional<std::string>{});
    }
    std::optional<std::string> openFile(const std::string&, const std::string&) override {
        return take(files, std::optional<std::string>{});
    }
    std::optional<std::string> saveFile(const std::string&, const std::string&) override {
        return take(files, std::optional<std::string>{});
    }
    std::optional<std::string> openFileIn(const std::string& title, const std::string& filter,
                                          const std::string& startPath) override {
        startPaths.push_back(startPath);
        return openFile(title, filter);
    }
    std::optional<std::string> saveFileAt(const std::string& title, const std::string& filter,
                                          const std::string& startPath) override {
        saveStartPaths.push_back(startPath);
        return saveFile(title, filter);
    }
    void statusShow() override {
        statusVisible = true;
        statusBar = {0, 0};
    }
    void statusHide() override { statusVisible = false; }
    void statusCaption(const std::string& caption) override { statusCaptionText = caption; }
    void statusText(const std::string& text) override {
        statusTextNow = text;
        statusTexts.push_back(text);
        ++statusUpdates;
    }
    void statusCancellable(bool offered) override { cancelOffered = offered; }
    // The user presses Cancel once the interface has run cancelAfterEvents times.
    bool statusCancelled() override {
        return cancelOffered && cancelAfterEvents >= 0 && eventsProcessed >= cancelAfterEvents;
    }
    void statusProgress(int done, int total, const std::string& = {}) override {
        statusBar = {done, total};
        progress.push_back(statusBar);
    }
    void processEvents() override { ++eventsProcessed; }
    void beep() override { ++beeps; }
    void openDocument(const std::string& path) override { documents.push_back(path); }

    // The script.
    std::deque<app::Answer> answers;
    std::deque<std::optional<std::string>> inputs; // nullopt = Cancel
    std::deque<std::optional<std::string>> files;
    int cancelAfterEvents = -1; // never

    // What happened.
    std::vector<ShownMessage> messages;
    std::vector<AskedInput> asked; // every input box: prompt, title and default answer
    std::vector<std::string> documents;
    std::vector<std::string> startPaths; // where open dialogs started
    std::vector<std::string> saveStartPaths;
    bool statusVisible = false;
    bool cancelOffered = false;
    std::string statusCaptionText, statusTextNow;
    std::vector<std::string> statusTexts;      // every text, in order
    std::pair<int, int> statusBar{0, 0};       // the progress bar now: done, total
    std::vector<std::pair<int, int>> progress; // every progress step, in order
    int statusUpdates = 0, eventsProcessed = 0, beeps = 0;
};

// The texts of the messages a scripted interface was shown, in order.
inline std::vector<std::string> messageTexts(const ScriptedUi& ui) {
    std::vector<std::string> texts;
    for (const ShownMessage& m : ui.messages)
        texts.push_back(m.text);
    return texts;
}

} // namespace pa::testing
