// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Alarms as tables: alarm files in, sets or FILE:LINE errors out; readings in, events out;
// events in, actions and log lines out.
#include "alarms/alarm_actions.h"
#include "support/test_files.h"
#include "text/leading_number.h"

#include <gtest/gtest.h>

#include <optional>
#include <sstream>

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace {

using namespace pa::alarms;

AlarmSet parsed(const std::string& text) {
    const ParseResult r = parseAlarms(text, "a.alarms");
    EXPECT_EQ(r.error, "") << text;
    return r.set;
}

// A file with a byte order mark, CR LF lines and comments reads as the set it means, written
// out in one layout (defaults filled in) that reads back the same.
TEST(AlarmFile, ReadsSectionsCommentsAndNumbersWithAPoint) {
    const std::string written =
        "[motor overload]\nquantity = W\nabove = 1500\nfor = 5\n"
        "hysteresis = 50\nactions = banner, beep, run\n"
        "run = /bin/notify \"%n now\" %v\n\n"
        "[mains]\nquantity = V\noutside = 207..253\nactions = banner, log\n\n"
        "[line]\nquantity = reading\nsilent_for = 10\nactions = banner, log\n";
    const AlarmSet set = parsed("\xEF\xBB\xBF# comment\r\n[motor overload]\r\n"
                                "quantity = W          # the motor\nabove = 1.5e3\nfor = 5\n"
                                "hysteresis = 50\nactions = banner, beep, run\n"
                                "run = /bin/notify \"%n now\" %v\n\n[mains]\nquantity=V\n"
                                "outside=207..253\n[line]\nquantity = reading\nsilent_for = 10\n");
    EXPECT_EQ(std::tuple(formatAlarms(set), formatAlarms(parsed(written)), set.alarms[0].line),
              std::tuple(written, written, 2));
}

TEST(AlarmFile, RefusesTheWholeFileNamingLineAndCause) {
    const std::pair<const char*, const char*> cases[] = {
        {"quantity = W\n", "a.alarms:1: \"quantity\" comes before"},
        {"[a]\nquantity = W\nabove = 1,5\n", "a.alarms:3: above takes a number"},
        {"[a]\nquantity = W\nabove = inf\n", "a.alarms:3: above takes a number"},
        {"[a]\nquantity = Watts\n", "a.alarms:2: unknown quantity"},
        {"[a]\nquantity = W\nabove = 1\nbelow = 0\n", "a.alarms:4: [a] has more than one"},
        {"[a]\nquantity = W\nabove = 1\nabove = 2\n", "a.alarms:4: \"above\" is given twice"},
        {"[a]\nquantity = W\n\n[b]\n", "a.alarms:1: [a] has no condition"},
        {"[a]\nabove = 1\n", "a.alarms:1: [a] has no quantity"},
        {"[a]\nquantity = V\noutside = 250..210\n", "a.alarms:3: outside: LOW must be less"},
        {"[a]\nquantity = V\noutside = 210..220\nhysteresis = 5\n", "a.alarms:1: [a]: the hyst"},
        {"[a]\nquantity = W\nsilent_for = 5\n", "a.alarms:1: [a]: silent_for goes with"},
        {"[a]\nquantity = W\nabove = 1\nactions = log, shout\n", "a.alarms:4: unknown action"},
        {"[a]\nquantity = W\nabove = 1\nactions = run\n", "a.alarms:1: [a]: the run action"},
        {"[a]\nquantity = W\nabove = 1\nfor = -1\n", "a.alarms:4: for cannot be negative"},
        {"[a]\nquantity = W\nabove = 1\n[a]\n", "a.alarms:4: a second alarm named \"a\""},
        {"[a]\nquantity = W\nabove = 1\ncolour = red\n", "a.alarms:4: unknown key"},
        {"[a\n", "a.alarms:1: a section name must end with ]"},
        {"[a]\nquantity = W\nabove\n", "a.alarms:3: expected key = value"},
        {"[a]\nquantity = W\nabove = 1\x01\n", "a.alarms:3: the line holds a control"},
    };
    for (const auto& [text, error] : cases) {
        const ParseResult r = parseAlarms(text, "a.alarms");
        EXPECT_TRUE(r.error.starts_with(error) && r.set.alarms.empty())
            << text << " -> " << r.error;
    }
    EXPECT_NE(parseAlarms(std::string(kMaxFileBytes + 1, '#'), "a.alarms").error, "");
}

// One alarm fed a series of samples written as text: "101" a value at the next second,
// "101@3.5" at 3.5 s, "na" no value, "silent" an unanswered poll, "OL" an overload, and each
// "!" after a sample acknowledges all alarms. The events come as "R5 C9 A10" (raised at t=5,
// cleared at t=9, acknowledged at t=10).
std::string run(const std::string& file, const std::string& series) {
    Evaluator evaluator(parsed(file));
    const int q = static_cast<int>(evaluator.set().alarms.at(0).quantity);
    std::string out;
    std::vector<Event> events;
    const auto add = [&] {
        for (const Event& e : events)
            out +=
                (out.empty() ? "" : " ") + std::string(1, "RCA"[int(e.kind)]) + valueText(e.time);
    };
    std::istringstream in(series);
    double next = 0;
    for (std::string item; in >> item; ++next) {
        const std::size_t acks = item.size() - item.find_last_not_of('!') - 1;
        item.resize(item.size() - acks);
        const std::size_t at = item.find('@');
        Sample s;
        s.time = at == std::string::npos ? next : pa::text::leadingNumber(item.substr(at + 1));
        next = s.time;
        item = item.substr(0, at);
        s.answered = item != "silent";
        s.overload[q] = item == "OL";
        if (s.answered && item != "na" && item != "OL")
            s.value[q] = pa::text::leadingNumber(item);
        evaluator.step(s, events);
        add();
        for (std::size_t i = 0; i < acks; ++i) {
            evaluator.acknowledgeAll(s.time, events);
            add();
        }
    }
    return out;
}

TEST(AlarmEvaluator, ReadingsInEventsOut) {
    const std::string above = "[a]\nquantity = W\nabove = 100\n";
    // A value that crosses 100 on every sample, a hundred times, inside a band of 10.
    std::string noisy;
    for (int i = 0; i < 200; ++i)
        noisy += i % 2 ? "104 " : "97 ";
    const struct {
        const char* what;
        std::string file, series;
        const char* events;
    } cases[] = {
        {"raised at once", above, "50 100 101 150 99", "R2 C4"},
        {"held for 3 s", above + "for = 3\n", "101 101 101 101 90", "R3 C4"},
        {"a break restarts the delay", above + "for = 3\n", "101 101 101 99 101 101 101 101", "R7"},
        {"noise in the band: one alarm", above + "hysteresis = 10\n", noisy + "89", "R1 C200"},
        {"clears and re-arms", above + "hysteresis = 10\n", "120 95 90 120 80", "R0 C2 R3 C4"},
        {"a missing value neither fires, clears nor breaks the delay", above + "for = 2\n",
         "101 na 101 na 50 na", "R2 C4"},
        {"below", "[a]\nquantity = PF\nbelow = 0.9\nhysteresis = 0.02\n", "0.95 0.89 0.91 0.92",
         "R1 C3"},
        {"outside", "[a]\nquantity = V\noutside = 210..250\nhysteresis = 2\n",
         "230 209 211 212 251 248", "R1 C3 R4 C5"},
        {"inside", "[a]\nquantity = A\ninside = 1..2\n", "0.5 1.5 2.5 1", "R1 C2 R3"},
        {"overload", "[a]\nquantity = A\noverload = yes\n", "1 OL OL na 2", "R1 C4"},
        {"an overload text is not a value", above, "OL 150 OL 50", "R1 C3"},
        {"no reading for 3 s", "[a]\nquantity = reading\nsilent_for = 3\n",
         "1 silent silent silent@3.5 silent@4 7@5 silent@6", "R3.5 C5"},
        {"acknowledged while raised, then cleared", above, "150 150! 50 150 50", "R0 A1 C2 R3 C4"},
        {"acknowledged after clearing", above, "150 50 50!!", "R0 C1 A2"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(run(c.file, c.series), c.events) << c.what;
}

TEST(AlarmEvaluator, SamplesTakeOnlyNumbersFromThePanels) {
    pa::live::Readouts r;
    r.Panel3D2 = {"OL", ".920", "230", "1.5", "23.1", "0.00", "0.00", "", "0.0100"};
    pa::live::EnergyCost energy;
    energy.priceEntered("0.5");
    const Sample s = sampleFrom(r, energy, 7, true);
    const auto at = [&](Quantity q) { return s.value[static_cast<int>(q)]; };
    // W overloaded (and VAR, derived from it), Hz not measured yet.
    EXPECT_EQ(std::tuple(at(Quantity::W), at(Quantity::VA), at(Quantity::VAR), at(Quantity::Hz),
                         at(Quantity::KWh), s.overload[static_cast<int>(Quantity::W)]),
              std::tuple(std::nullopt, 0.0, std::nullopt, std::nullopt, 0.01, true));
    r.Panel3D2[pa::live::kW] = "1000";
    EXPECT_EQ(sampleFrom(r, energy, 7, true).value[static_cast<int>(Quantity::CostPerDay)], 12.0);
}

struct Recorder : ActionSink {
    std::string got;
    void bannerChanged() override { got += "banner "; }
    void beep() override { got += "beep "; }
    void mark(const Alarm&, const Event&) override { got += "mark "; }
    void recordStart() override { got += "start "; }
    void recordStop() override { got += "stop "; }
    void run(const Alarm&, std::vector<std::string> args) override {
        got += "run";
        for (const auto& a : args)
            got += "[" + a + "]";
        got += " ";
    }
    void mqtt(int, const Alarm&, const Event&, std::string_view) override { got += "mqtt "; }
    void announce(const std::string& line) override { got += "<" + line + "> "; }
};

TEST(AlarmActions, EachActionOncePerEventAndOneLogLineEach) {
    const AlarmSet set = parsed("[motor, 1]\nquantity = W\nabove = 100\nactions = banner, beep, "
                                "mark, log, record_start, record_stop, run, mqtt\n"
                                "run = notify \"%n: %v%%\" %u %t %x\n");
    pa::testing::TempFolder folder;
    const std::string path = pa::datafile::utf8FromPath(folder.path() / "run-alarms.csv");
    EXPECT_EQ(logPathBeside(pa::datafile::utf8FromPath(folder.path() / "run.txt")), path);
    Recorder sink;
    AlarmActions actions(set, sink);
    ASSERT_EQ(actions.log().open(path), "");
    const std::vector<Event> raised{{0, EventKind::Raised, 150.5, 1}};
    actions.carryOut(raised, "T1");
    EXPECT_EQ(sink.got, "<alarm raised: motor, 1 150.5 W T1> banner mark mqtt beep start stop "
                        "run[notify][motor, 1: 150.5%][W][T1][%x] ");
    sink.got.clear();
    actions.carryOut({{0, EventKind::Cleared, 80, 2}, {0, EventKind::Acknowledged, 80, 3}}, "T2");
    EXPECT_EQ(sink.got, "<alarm cleared: motor, 1 80 W T2> banner mark mqtt banner ");
    // Reopened, the log keeps its lines and gets no second header.
    ASSERT_EQ(actions.log().open(path), "");
    EXPECT_EQ(pa::testing::readFile(path), "time,alarm,event,value,unit\n"
                                           "T1,\"motor, 1\",raised,150.5,W\n"
                                           "T2,\"motor, 1\",cleared,80,W\n"
                                           "T2,\"motor, 1\",acknowledged,80,W\n");
}

// The messages give each quantity's unit (none for the power factor).
TEST(AlarmActions, EventsCarryTheUnitOfTheirQuantity) {
    const std::pair<const char*, const char*> units[] = {
        {"W", " W"},     {"PF", ""},        {"V", " V"},   {"A", " A"},     {"VA", " VA"},
        {"VAR", " var"}, {"angle", " deg"}, {"Hz", " Hz"}, {"kWh", " kWh"}, {"cost_per_day", " $"}};
    for (const auto& [quantity, unit] : units) {
        const AlarmSet set =
            parsed(std::string("[x]\nquantity = ") + quantity + "\nabove = 1\nactions = banner\n");
        Recorder sink;
        AlarmActions actions(set, sink);
        actions.carryOut({{0, EventKind::Raised, 2, 1}}, "T");
        EXPECT_EQ(sink.got, std::string("<alarm raised: x 2") + unit + " T> banner ") << quantity;
    }
}

// Where the alarm log may not go: what is no file is refused at once, never waited on.
TEST(AlarmLog, WhatIsNoFileIsRefusedWithoutWaiting) {
    pa::testing::TempFolder dir;
    AlarmLog log;
    EXPECT_EQ(log.open(dir.str()),
              "cannot write the alarm log " + dir.str() + ": it is not a regular file");
#ifndef _WIN32
    const std::string fifo = dir.str() + "/log.csv";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_NE(log.open(fifo).find("it is not a regular file"), std::string::npos);
    EXPECT_EQ(log.open("/dev/null"), "") << "a device takes lines";
#endif
    EXPECT_NE(log.open(dir.str() + "/missing/log.csv").find(pa::datafile::systemReason(ENOENT)),
              std::string::npos);
    EXPECT_FALSE(log.isOpen());
}

} // namespace
