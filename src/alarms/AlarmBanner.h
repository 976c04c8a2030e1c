// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The main window's alarm banner: while an alarm set is in use, the evaluator runs after
// every poll of the live cycle and the banner, red, lists each alarm raised (its name, the
// value that raised it and the time) and each one that cleared but was not yet acknowledged;
// Acknowledge takes the cleared ones off the list. It carries out the alarms' actions: the
// beep, the trend mark and the recording through the functions the main window gives, the
// log and the programs itself.
#include "alarms/alarm_actions.h"
#include "app/ui.h"
#include "qt/alarm_programs.h"

#include <QElapsedTimer>
#include <QFrame>
#include <QStringList>
#include <functional>
#include <memory>

class QLabel;
class QPushButton;

namespace pa::alarms {

class AlarmBanner : public QFrame, private ActionSink {
    Q_OBJECT
  public:
    AlarmBanner(app::Ui& ui, QWidget* parent = nullptr);
    ~AlarmBanner() override;

    // Puts a set read from file in use, logging to logPath; "" or why the log cannot be
    // written (the set is then not in use).
    std::string use(AlarmSet set, const std::string& file, const std::string& logPath);
    void stop();
    bool inUse() const { return evaluator_ != nullptr; }
    const std::string& file() const { return file_; }
    int alarmCount() const;
    void applyCaptions(int language);

    // After each poll tick of the live cycle.
    void afterPoll(const live::Readouts& readouts, const live::EnergyCost& energy, bool answered);
    void acknowledge();
    // What the banner lists, one line per alarm (for tests and the tooltip).
    QStringList lines() const;

    std::function<void()> onBeep, onRecordStart, onRecordStop;
    std::function<void(const QString& label, bool raised)> onMark;

  private:
    void bannerChanged() override;
    void beep() override;
    void mark(const Alarm& alarm, const Event& event) override;
    void recordStart() override;
    void recordStop() override;
    void run(const Alarm& alarm, std::vector<std::string> arguments) override;
    void logFailed(const std::string& message) override;
    void carryOut();
    void showList(); // the list as the states say

    app::Ui& ui_;
    int language_ = 1;
    std::string file_;
    std::unique_ptr<Evaluator> evaluator_;
    std::unique_ptr<AlarmActions> actions_;
    qt::AlarmPrograms programs_;
    std::vector<QString> raisedAt_; // local time of each alarm's last raising
    std::vector<Event> events_;
    QElapsedTimer steady_;
    QLabel* list_ = nullptr;
    QLabel* programNote_ = nullptr;
    QPushButton* acknowledge_ = nullptr;
};

} // namespace pa::alarms
