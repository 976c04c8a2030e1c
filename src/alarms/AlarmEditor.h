// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Option > Alarms...: the alarm set as its file's text, edited in place. Load reads a file,
// Save As writes one, Check reads the text as the evaluator would and puts the cursor on the
// line of the first mistake; Save and Use writes the file (asking for a name the first
// time) and hands the checked set to the main window; Stop Alarms ends the set in use.
#include "alarms/alarm_set.h"
#include "app/ui.h"

#include <QDialog>
#include <functional>
#include <optional>

class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace pa::alarms {

class AlarmEditor : public QDialog {
    Q_OBJECT
  public:
    // file: the set in use ("" for none), read into the editor.
    AlarmEditor(app::Ui& ui, int language, const std::string& file, QWidget* parent = nullptr);

    // After Save and Use: the set and its file.
    const std::optional<ParseResult>& chosen() const { return chosen_; }
    const std::string& file() const { return file_; }
    bool stopRequested() const { return stop_; }

    QPlainTextEdit* text() const { return text_; }
    // The steps behind the buttons, for the keyboard and for tests.
    bool load(const std::string& path);
    bool saveTo(const std::string& path);
    // The text read as a set; on a mistake the cursor goes to its line and the user is told.
    std::optional<ParseResult> check(bool quietWhenRight);
    void saveAndUse();

  private:
    QString shownName() const;
    app::Ui& ui_;
    int language_;
    std::string file_;
    std::optional<ParseResult> chosen_;
    bool stop_ = false;
    QPlainTextEdit* text_ = nullptr;
    QLabel* fileLabel_ = nullptr;
};

} // namespace pa::alarms
