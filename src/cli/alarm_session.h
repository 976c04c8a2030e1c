// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The alarms of monitor and record: the set read from --alarms FILE, evaluated after every
// poll of the live cycle. Each raised and cleared event is one line on standard error
// ("alarm raised: NAME VALUE UNIT TIME"), a line in the alarm log, and, for alarms with those
// actions, a program run, a binary sensor state on the MQTT broker, or the recording started
// or stopped.
#include "alarms/alarm_actions.h"
#include "alarms/alarm_mqtt.h"
#include "cli/mqtt_publisher.h"
#include "cmdline/command_options.h"
#include "qt/alarm_programs.h"

#include <QElapsedTimer>
#include <functional>
#include <memory>

namespace pa::cli {

class AlarmSession : public alarms::ActionSink {
  public:
    AlarmSession();
    // Reads the set; "" or the error (the file's first mistake as FILE:LINE: cause). Done
    // before anything is opened or created, so that a bad file leaves everything alone.
    std::string read(const cmdline::AlarmOptions& options);
    // Opens the log (the --alarm-log file, or beside `beside`) and starts evaluating.
    std::string start(const std::string& beside);
    bool active() const { return evaluator_ != nullptr; }
    // Alarms with the mqtt action become binary sensors on this publisher.
    void setPublisher(MqttPublisher* publisher, const std::string& prefix);
    // What record_start and record_stop do (before start); without them start says that
    // these actions are ignored.
    void setRecordControl(std::function<void()> start, std::function<void()> stop);
    // After each poll of the cycle.
    void afterTick(live::LiveCycle& cycle);

  private:
    void announce(const std::string& line) override;
    void logFailed(const std::string& message) override;
    void beep() override;
    void run(const alarms::Alarm& alarm, std::vector<std::string> arguments) override;
    void mqtt(int index, const alarms::Alarm& alarm, const alarms::Event& event,
              std::string_view time) override;
    void recordStart() override;
    void recordStop() override;

    cmdline::AlarmOptions options_;
    std::unique_ptr<alarms::Evaluator> evaluator_;
    std::unique_ptr<alarms::AlarmActions> actions_;
    qt::AlarmPrograms programs_;
    MqttPublisher* publisher_ = nullptr;
    std::vector<alarms::AlarmTopics> topics_;
    std::function<void()> start_, stop_;
    std::vector<alarms::Event> events_;
    QElapsedTimer steady_;
};

} // namespace pa::cli
