// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The trend's ring of samples, its span statistics, envelope and CSV, and the feed that
// turns the live cycle's readouts into samples and gaps.
#include "trend/trend_feed.h"
#include "trend/trend_store.h"

#include <gtest/gtest.h>

#include <cmath>
#include <locale>
#include <sstream>

namespace {

using namespace pa::trend;

Values all(float v) {
    Values values;
    values.fill(v);
    return values;
}

// W values at times 0, 1, 2, ... (NaN for a gap).
TrendStore storeOf(std::vector<float> w, std::size_t capacity = 100) {
    TrendStore store(capacity);
    for (std::size_t i = 0; i < w.size(); ++i)
        store.append(static_cast<double>(i), all(w[i]));
    return store;
}

// One line per envelope column: its range and end values, and whether it joins the sample
// before it or holds a gap.
std::string describe(const Column& c) {
    std::ostringstream s;
    s.imbue(std::locale::classic());
    if (c.data)
        s << c.min << ".." << c.max << " " << c.first << ">" << c.last;
    else
        s << "-";
    s << (c.joins ? " joins" : "") << (c.gap ? " gap" : "");
    return s.str();
}

// A span's statistics as "count min..max mean" (the mean to 9 significant digits).
std::string describe(const Stats& s) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.precision(9);
    out << s.count << " " << s.min << ".." << s.max << " " << s.mean;
    return out.str();
}

// The ring keeps the newest samples without growing (a day of all quantities in under 20 MB)
// and its time never runs backwards.
TEST(TrendStore, RingKeepsTheNewestSamplesWithoutGrowing) {
    TrendStore store(4);
    for (int i = 0; i < 11; ++i)
        store.append(i, all(static_cast<float>(i * 10)));
    EXPECT_EQ(describe(store.stats(kV, 0, 20)), "4 70..100 85");
    EXPECT_EQ(std::tuple(store.size(), store.oldestTime(), store.newestTime()),
              std::tuple(std::size_t{4}, 7.0, 10.0));
    EXPECT_EQ(std::pair(store.firstAtOrAfter(8.5), store.firstAtOrAfter(11)),
              std::pair(std::size_t{2}, std::size_t{4}));
    store.append(5, all(2)); // the clock was set back
    const TrendStore day;
    EXPECT_EQ(std::tuple(store.newestTime(), day.capacity(), day.fullBytes() < 20u * 1024 * 1024),
              std::tuple(10.0, std::size_t{172800}, true));
}

TEST(TrendStore, StatisticsOfASpanSkipGaps) {
    const TrendStore store = storeOf({5, 1, kGap, 9, 3, kGap, 100});
    // Everything, a gap in the span, only a gap, after the newest sample, before the oldest.
    const struct {
        double from, to;
        const char* stats;
    } cases[] = {{0, 6, "5 1..100 23.6"},
                 {0.5, 4, "3 1..9 4.33333333"},
                 {2, 2, "0 0..0 0"},
                 {7, 9, "0 0..0 0"},
                 {-5, 0, "1 5..5 5"}};
    for (const auto& c : cases)
        EXPECT_EQ(describe(store.stats(kW, c.from, c.to)), c.stats) << c.from << ".." << c.to;
}

// Each column holds the minimum and maximum of its samples and breaks at gaps; the first one
// joins the value before the span, and a long span fits in few columns.
TEST(TrendStore, EnvelopeHoldsMinimumAndMaximumPerColumnAndBreaksAtGaps) {
    // Times 0..9 over 5 columns of 2 s: {4,8} {6,2} {gap,gap} {3,gap} {5,7}.
    const auto columns = storeOf({4, 8, 6, 2, kGap, kGap, 3, kGap, 5, 7}).envelope(kW, 0, 10, 5);
    std::vector<std::string> shown;
    for (const Column& c : columns)
        shown.push_back(describe(c));
    EXPECT_EQ(shown, (std::vector<std::string>{"4..8 4>8", "2..6 6>2 joins", "- gap",
                                               "3..3 3>3 gap", "5..7 5>7"}));

    const TrendStore store = storeOf({1, 2, 3, 4});
    EXPECT_EQ(describe(store.envelope(kW, 1.5, 3.5, 2)[0]), "3..3 3>3 joins");
    EXPECT_EQ(describe(store.envelope(kW, 5, 5, 10)[0]), "-") << "an empty span";

    TrendStore day(kDayOfSamples + 10);
    for (std::size_t i = 0; i < kDayOfSamples + 10; ++i)
        day.append(static_cast<double>(i) * 0.5, all(static_cast<float>(i % 100)));
    const auto wide = day.envelope(kW, day.oldestTime(), day.newestTime(), 800);
    ASSERT_EQ(wide.size(), 800u);
    for (const Column& c : wide)
        EXPECT_EQ(std::tuple(c.data, c.min, c.max), std::tuple(true, 0.0f, 99.0f));
}

// A ring of 160 (read a block of 16 at a time) against one too big to wrap that reads
// every sample (its size is no multiple of 16): the same envelope and statistics.
TEST(TrendStore, BlockSummariesAgreeWithEverySample) {
    TrendStore blocks(160), samples(10001);
    unsigned x = 12345;
    for (int i = 0; i < 1000; ++i) {
        x = x * 1103515245u + 12345u;
        Values v = all(static_cast<float>(x >> 16 & 1023));
        v[kPF] = i % 50 < 20 ? kGap : v[kPF]; // runs of gaps longer than a block
        v[kW] = x % 7 == 0 ? kGap : v[kW];    // scattered gaps
        blocks.append(i * 0.5, v);
        samples.append(i * 0.5, v);
    }
    ASSERT_EQ(blocks.size(), 160u);
    const double from = blocks.oldestTime() + 0.25, to = blocks.newestTime();
    for (Quantity q : {kW, kPF, kV}) {
        for (int columns : {1, 3, 7, 40, 200}) {
            const auto a = blocks.envelope(q, from, to, columns);
            const auto b = samples.envelope(q, from, to, columns);
            for (std::size_t c = 0; c < a.size(); ++c)
                EXPECT_EQ(describe(a[c]), describe(b[c])) << q << "/" << columns << " " << c;
        }
        EXPECT_EQ(describe(blocks.stats(q, from, to)), describe(samples.stats(q, from, to))) << q;
    }
    blocks.clear();
    blocks.append(0, all(3));
    EXPECT_EQ(blocks.stats(kW, 0, 1).count, 1u) << "a cleared ring starts its blocks afresh";
}

TEST(TrendCsv, WritesDateTimeAndPlainNumbersWithEmptyGapsAndTheirStatus) {
    TrendStore store(10);
    const double day = dayStart(2026, 11, 23);
    store.append(day + 36307.4,
                 Values{116.4f, 0.92f, 230, 0.55f, 126.5f, 49.53f, kGap, 23.1f, 1.25f});
    store.appendGap(day + 36308.4, Status::NoCom);
    store.appendGap(day + 36309.4, Status::Paused);
    store.append(day + 86399.9, Values{kGap, 1, 230, 0.001f, 0.23f, 0, 50, 0, 2}, Status::Overload);
    store.append(day + 86400.5, all(2));
    EXPECT_EQ(toCsv(store, day, day + 86400),
              "date,time,W,PF,V,A,VA,VAR,Hz,Angle,kWh,status\r\n"
              "2026-11-23,10:05:07.4,116.4,0.92,230,0.55,126.5,49.53,,23.1,1.25,ok\r\n"
              "2026-11-23,10:05:08.4,,,,,,,,,,no_com\r\n"
              "2026-11-23,10:05:09.4,,,,,,,,,,paused\r\n"
              "2026-11-23,23:59:59.9,,1,230,0.001,0.23,0,50,0,2,overload\r\n");
    EXPECT_EQ(toCsv(store, day + 86400, day + 90000),
              "date,time,W,PF,V,A,VA,VAR,Hz,Angle,kWh,status\r\n"
              "2026-11-24,00:00:00.5,2,2,2,2,2,2,2,2,2,ok\r\n");
}

// Display texts read as numbers, overloads and what is no number as gaps; clock texts become
// times, across midnight.
TEST(TrendFeed, ReadsDisplayAndClockTextsOverloadsBeingGaps) {
    const std::pair<const char*, float> cases[] = {
        {" 116.4", 116.4f}, {"  .920", 0.92f}, {"-1.234", -1.234f}, {"OL", kGap},
        {"-OL", kGap},      {"Init", kGap},    {"", kGap},          {"?", kGap},
        {"50Hz", 50},       {"   0", 0},       {"1e300", kGap}};
    for (const auto& [text, value] : cases) {
        const float v = valueOfText(text);
        EXPECT_TRUE(std::isnan(value) ? std::isnan(v) : std::abs(v - value) < 1e-6f) << text;
    }
    const double day = dayStart(2026, 11, 23);
    EXPECT_DOUBLE_EQ(timeOf("10:05:07.4", {2026, 11, 23, 10, 5, 7.6}), day + 36307.4);
    // Set at 23:59:59.9 and read after midnight: still the 23rd.
    EXPECT_DOUBLE_EQ(timeOf("23:59:59.9", {2026, 11, 24, 0, 0, 0.1}), day + 86399.9);
    EXPECT_DOUBLE_EQ(timeOf("00:00:00.0", {2026, 11, 24, 0, 0, 0.1}), day + 86400);
    EXPECT_EQ(std::pair(clockTextOf(day + 86399.9), dayStart(1970, 1, 2)),
              std::pair(std::string("23:59:59.9"), 86400.0));
}

// One sample per new clock text; NO COM and HOLD are gaps, an overloaded reading a gap of its
// own quantities, and a Get Hz reading is taken once.
TEST(TrendFeed, OneSamplePerClockTextAndGapsForSilenceOverloadAndHold) {
    TrendStore store(100);
    TrendFeed feed(store);
    pa::live::Readouts r;
    r.Panel3D2 = {" 116.4", "  .920", "  230", "  .550", "23.1", "126.50", "49.53", ""};
    const struct {
        const char *clock, *volts, *hz, *why;
        bool framed, noData, hold;
        Added added;
        float w = 0, v = 0, hzValue = 0; // NaN: a gap
    } polls[] = {
        {"", "  230", "", "no clock yet", true, false, false, Added::Nothing},
        {"12:00:00.0", "  230", "", "a sample", true, false, false, Added::Sample, 116.4f, 230,
         kGap},
        {"12:00:00.0", "  230", "", "the same clock", true, false, false, Added::Nothing},
        {"12:00:00.5", "  230", "", "silent before NO COM", false, false, false, Added::Nothing},
        {"12:00:01.0", "  230", "", "NO COM", false, true, false, Added::Gap, kGap, kGap, kGap},
        {"12:00:01.5", "OL", "", "V over", true, false, false, Added::Sample, 116.4f, kGap, kGap},
        {"12:00:02.0", "  230", "", "HOLD", true, false, true, Added::Gap, kGap, kGap, kGap},
        {"12:00:02.5", "  230", "50Hz", "Get Hz", true, false, false, Added::Sample, 116.4f, 230,
         50},
        {"12:00:03.0", "  230", "50Hz", "once", true, false, false, Added::Sample, 116.4f, 230,
         kGap},
    };
    const auto same = [](float a, float b) { return std::isnan(a) ? std::isnan(b) : a == b; };
    for (const auto& p : polls) {
        SCOPED_TRACE(p.why);
        r.clockText = p.clock;
        r.Panel3D2[pa::live::kV] = p.volts;
        r.Panel3D2[pa::live::kHz] = p.hz;
        r.holdVisible = p.hold;
        const std::size_t before = store.size();
        ASSERT_EQ(feed.afterPoll({r, p.noData, p.framed, {2026, 11, 23, 12, 0, 0}}), p.added);
        if (p.added == Added::Nothing)
            continue;
        ASSERT_EQ(std::pair(store.size(), clockTextOf(store.newestTime())),
                  std::pair(before + 1, std::string(p.clock)));
        const std::size_t i = store.size() - 1;
        EXPECT_TRUE(same(store.value(i, kW), p.w) && same(store.value(i, kV), p.v) &&
                    same(store.value(i, kVA), std::isnan(p.v) ? kGap : 126.5f) &&
                    same(store.value(i, kHz), p.hzValue))
            << store.value(i, kW) << " " << store.value(i, kV) << " " << store.value(i, kHz);
    }
    EXPECT_EQ(store.time(0), dayStart(2026, 11, 23) + 12 * 3600);
}

} // namespace
