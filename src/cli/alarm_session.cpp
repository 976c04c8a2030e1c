// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "cli/alarm_session.h"

#include "alarms/alarm_mqtt.h"
#include "live/mqtt_messages.h"

#include <chrono>
#include <cstdio>

namespace pa::cli {
namespace {

void say(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
    std::fflush(stderr);
}

std::string now() {
    return live::isoTimestamp(std::chrono::system_clock::now());
}

} // namespace

AlarmSession::AlarmSession() : programs_(say) {}

std::string AlarmSession::read(const cmdline::AlarmOptions& options) {
    options_ = options;
    if (options.file.empty())
        return "";
    alarms::ParseResult parsed = alarms::readAlarmFile(options.file);
    if (!parsed.error.empty())
        return parsed.error;
    evaluator_ = std::make_unique<alarms::Evaluator>(std::move(parsed.set));
    actions_ = std::make_unique<alarms::AlarmActions>(evaluator_->set(), *this);
    return "";
}

std::string AlarmSession::start(const std::string& beside) {
    if (!active())
        return "";
    const std::string log = options_.log.empty() ? alarms::logPathBeside(beside) : options_.log;
    if (const std::string error = actions_->log().open(log); !error.empty())
        return error;
    say("alarms: " + std::to_string(evaluator_->set().alarms.size()) + " from " + options_.file +
        ", logged to " + log);
    if (!start_ && !stop_)
        for (const alarms::Alarm& a : evaluator_->set().alarms)
            if (a.actions & (alarms::kRecordStart | alarms::kRecordStop))
                say("alarms: [" + a.name +
                    "]: record_start and record_stop act only in record and in the desktop "
                    "program");
    steady_.start();
    return "";
}

void AlarmSession::setPublisher(MqttPublisher* publisher, const std::string& prefix) {
    if (!active() || !publisher)
        return;
    publisher_ = publisher;
    const auto& set = evaluator_->set();
    topics_ = alarms::alarmTopics(set, prefix);
    for (std::size_t i = 0; i < set.alarms.size(); ++i) {
        if (topics_[i].state.empty())
            continue;
        publisher_->publishRetained(topics_[i].config,
                                    alarms::binarySensorConfig(set.alarms[i], topics_[i], prefix));
        publisher_->publishRetained(topics_[i].state, "OFF");
    }
}

void AlarmSession::setRecordControl(std::function<void()> start, std::function<void()> stop) {
    start_ = std::move(start);
    stop_ = std::move(stop);
}

void AlarmSession::afterTick(live::LiveCycle& cycle) {
    if (!active())
        return;
    const double t = steady_.nsecsElapsed() / 1e9;
    evaluator_->step(
        alarms::sampleFrom(cycle.readouts(), cycle.energy(), t, cycle.noDataTicks() == 0), events_);
    if (!events_.empty())
        actions_->carryOut(events_, now());
}

void AlarmSession::announce(const std::string& line) {
    say(line);
}

void AlarmSession::logFailed(const std::string& message) {
    say("poweranalyzer-cli: " + message);
}

void AlarmSession::beep() {
    std::fputc('\a', stderr);
    std::fflush(stderr);
}

void AlarmSession::run(const alarms::Alarm& alarm, std::vector<std::string> arguments) {
    programs_.start(arguments, alarm.name);
}

void AlarmSession::mqtt(int index, const alarms::Alarm& alarm, const alarms::Event& event,
                        std::string_view time) {
    if (!publisher_ || topics_[index].state.empty())
        return;
    publisher_->publishRetained(
        topics_[index].attributes,
        alarms::attributesJson(event.value, alarms::quantityUnit(alarm.quantity), time));
    publisher_->publishRetained(topics_[index].state,
                                event.kind == alarms::EventKind::Raised ? "ON" : "OFF");
}

void AlarmSession::recordStart() {
    if (start_)
        start_();
}

void AlarmSession::recordStop() {
    if (stop_)
        stop_();
}

} // namespace pa::cli
