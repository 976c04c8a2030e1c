// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "alarms/AlarmBanner.h"

#include "live/mqtt_messages.h"
#include "ui/CaptionText.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <chrono>

namespace pa::alarms {

using ui::Caption;
using ui::captionText;

AlarmBanner::AlarmBanner(app::Ui& ui, QWidget* parent)
    : QFrame(parent), ui_(ui), programs_([this](const std::string& text) {
          programNote_->setText(QString::fromStdString(text));
          programNote_->setVisible(true);
      }) {
    setObjectName("AlarmBanner");
    setStyleSheet("#AlarmBanner { background: #c62828; border-radius: 4px; }"
                  "#AlarmBanner QLabel { color: white; }");
    auto* row = new QHBoxLayout(this);
    auto* texts = new QVBoxLayout;
    list_ = new QLabel(this);
    list_->setObjectName("AlarmList");
    QFont bold = list_->font();
    bold.setPointSize(bold.pointSize() + 2);
    bold.setBold(true);
    list_->setFont(bold);
    list_->setTextFormat(Qt::PlainText);
    programNote_ = new QLabel(this);
    programNote_->setObjectName("AlarmProgramNote");
    programNote_->setVisible(false);
    texts->addWidget(list_);
    texts->addWidget(programNote_);
    row->addLayout(texts, 1);
    acknowledge_ = new QPushButton(this);
    acknowledge_->setObjectName("AlarmAcknowledge");
    connect(acknowledge_, &QPushButton::clicked, this, &AlarmBanner::acknowledge);
    row->addWidget(acknowledge_, 0, Qt::AlignTop);
    setVisible(false);
}

AlarmBanner::~AlarmBanner() = default;

std::string AlarmBanner::use(AlarmSet set, const std::string& file, const std::string& logPath) {
    auto evaluator = std::make_unique<Evaluator>(std::move(set));
    ActionSink& sink = *this;
    auto actions = std::make_unique<AlarmActions>(evaluator->set(), sink);
    if (std::string error = actions->log().open(logPath); !error.empty())
        return error;
    evaluator_ = std::move(evaluator);
    actions_ = std::move(actions);
    file_ = file;
    raisedAt_.assign(evaluator_->set().alarms.size(), QString());
    steady_.start();
    showList();
    return "";
}

void AlarmBanner::stop() {
    actions_.reset();
    evaluator_.reset();
    file_.clear();
    showList();
}

int AlarmBanner::alarmCount() const {
    return evaluator_ ? static_cast<int>(evaluator_->set().alarms.size()) : 0;
}

void AlarmBanner::applyCaptions(int language) {
    language_ = language;
    acknowledge_->setText(captionText(Caption::AlarmAcknowledge, language));
    showList();
}

void AlarmBanner::afterPoll(const live::Readouts& readouts, const live::EnergyCost& energy,
                            bool answered) {
    if (!evaluator_)
        return;
    evaluator_->step(sampleFrom(readouts, energy, steady_.nsecsElapsed() / 1e9, answered), events_);
    carryOut();
}

void AlarmBanner::acknowledge() {
    if (!evaluator_)
        return;
    evaluator_->acknowledgeAll(steady_.nsecsElapsed() / 1e9, events_);
    carryOut();
    showList();
}

void AlarmBanner::carryOut() {
    if (events_.empty())
        return;
    for (const Event& e : events_)
        if (e.kind == EventKind::Raised)
            raisedAt_[e.alarm] = QTime::currentTime().toString("HH:mm:ss");
    actions_->carryOut(events_, live::isoTimestamp(std::chrono::system_clock::now()));
}

QStringList AlarmBanner::lines() const {
    QStringList out;
    if (!evaluator_)
        return out;
    const auto& states = evaluator_->states();
    for (std::size_t i = 0; i < states.size(); ++i) {
        const Alarm& a = evaluator_->set().alarms[i];
        if (!states[i].listed() || !(a.actions & kBanner))
            continue;
        const QString unit = QString::fromStdString(std::string(quantityUnit(a.quantity)));
        QString line = captionText(Caption::AlarmRaised, language_) + "  " +
                       QString::fromStdString(a.name) + "  " +
                       QString::fromStdString(valueText(states[i].value)) +
                       (unit.isEmpty() ? "" : " " + unit) + "  " + raisedAt_[i];
        if (!states[i].raised)
            line += "  (" + captionText(Caption::AlarmCleared, language_) + ")";
        out << line;
    }
    return out;
}

void AlarmBanner::showList() {
    const QStringList shown = lines();
    list_->setText(shown.join('\n'));
    setVisible(!shown.isEmpty());
    if (shown.isEmpty())
        programNote_->setVisible(false);
}

void AlarmBanner::bannerChanged() {
    showList();
}

void AlarmBanner::beep() {
    if (onBeep)
        onBeep();
}

void AlarmBanner::mark(const Alarm& alarm, const Event& event) {
    if (onMark)
        onMark(QString::fromStdString(alarm.name), event.kind == EventKind::Raised);
}

void AlarmBanner::recordStart() {
    if (onRecordStart)
        onRecordStart();
}

void AlarmBanner::recordStop() {
    if (onRecordStop)
        onRecordStop();
}

void AlarmBanner::run(const Alarm& alarm, std::vector<std::string> arguments) {
    programs_.start(arguments, alarm.name);
}

void AlarmBanner::logFailed(const std::string& message) {
    ui_.message(captionText(Caption::AlarmLogFailed, language_).toStdString() + "\n" + message, "",
                app::Icon::Exclamation);
}

} // namespace pa::alarms
