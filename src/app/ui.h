// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// What the logic asks of a person or of the screen. The Qt implementation shows real
// dialogs; the test implementation records every request and answers from a script.
#include <optional>
#include <string>

namespace pa::app {

enum class Icon { None, Information, Exclamation, Question, Critical };
enum class Buttons { Ok, YesNo, OkCancel };
enum class Answer { Ok, Yes, No, Cancel };

class Ui {
  public:
    virtual ~Ui() = default;

    virtual Answer message(const std::string& text, const std::string& title = "",
                           Icon icon = Icon::None, Buttons buttons = Buttons::Ok) = 0;
    // The typed text, or nothing when the user cancelled.
    virtual std::optional<std::string> input(const std::string& prompt, const std::string& title,
                                             const std::string& defaultText) = 0;
    // A chosen path, or nothing when cancelled. filter is e.g. "Text (*.txt)".
    virtual std::optional<std::string> openFile(const std::string& title,
                                                const std::string& filter) = 0;
    virtual std::optional<std::string> saveFile(const std::string& title,
                                                const std::string& filter) = 0;
    // An open dialog that starts at a path (a folder and a proposed name, "folder/.txt").
    virtual std::optional<std::string>
    openFileIn(const std::string& title, const std::string& filter, const std::string& startPath) {
        (void)startPath;
        return openFile(title, filter);
    }
    // The same, starting at startPath (a folder, or a folder and a proposed file name).
    virtual std::optional<std::string>
    saveFileAt(const std::string& title, const std::string& filter, const std::string& startPath) {
        (void)startPath;
        return saveFile(title, filter);
    }

    // The small status window (CHKSPEED): a caption and one line of text.
    virtual void statusShow() = 0;
    virtual void statusHide() = 0;
    virtual void statusCaption(const std::string& caption) = 0;
    virtual void statusText(const std::string& text) = 0;
    // Offers (or withdraws) a way to cancel the work the status window shows; cancelled()
    // says whether the user has used it since it was offered (the command line: Ctrl-C).
    virtual void statusCancellable(bool offered) { (void)offered; }
    virtual bool statusCancelled() { return false; }
    // A count shown as a bar under the text line: done of total, with label on the bar (the
    // percentage when empty); a total of 0 hides the bar. Showing the window again hides it.
    virtual void statusProgress(int done, int total, const std::string& label = {}) {
        (void)done;
        (void)total;
        (void)label;
    }

    // Let the interface process its pending events (long operations call this between steps).
    virtual void processEvents() = 0;
    virtual void beep() = 0;
    // Hands a document to the system's viewer; does not wait and reports nothing.
    virtual void openDocument(const std::string& path) = 0;
};

} // namespace pa::app
