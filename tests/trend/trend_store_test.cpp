// The trend's ring of samples, its span statistics, envelope and CSV, and the feed that
// turns the live cycle's readouts into samples and gaps.
#include "trend/trend_feed.h"
#include "trend/trend_store.h"

#include <gtest/gtest.h>

#include <cmath>

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

TEST(TrendStore, RingKeepsTheNewestSamplesWithoutGrowing) {
    TrendStore store(4);
    for (int i = 0; i < 11; ++i)
        store.append(i, all(static_cast<float>(i * 10)));
    ASSERT_EQ(store.size(), 4u);
    EXPECT_EQ(store.capacity(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(store.time(i), 7.0 + static_cast<double>(i));
        EXPECT_EQ(store.value(i, kV), 70.0f + 10.0f * static_cast<float>(i));
    }
    EXPECT_EQ(store.oldestTime(), 7);
    EXPECT_EQ(store.newestTime(), 10);
    EXPECT_EQ(store.firstAtOrAfter(8.5), 2u);
    EXPECT_EQ(store.firstAtOrAfter(11), 4u);
    EXPECT_EQ(store.fullBytes(), 4u * (8 + 9 * 4 + 1));

    store.clear();
    EXPECT_TRUE(store.empty());
    store.append(20, all(1));
    EXPECT_EQ(store.time(0), 20);
}

TEST(TrendStore, ADayOfAllQuantitiesFitsTheMemoryBudget) {
    const TrendStore store;
    EXPECT_EQ(store.capacity(), 172800u);
    EXPECT_LT(store.fullBytes(), 20u * 1024 * 1024);
}

TEST(TrendStore, TimeNeverRunsBackwards) {
    TrendStore store(10);
    store.append(100, all(1));
    store.append(90, all(2)); // the clock was set back
    EXPECT_EQ(store.time(1), 100);
    EXPECT_EQ(store.firstAtOrAfter(100), 0u);
}

TEST(TrendStore, StatisticsOfASpanSkipGaps) {
    const float gap = kGap;
    const TrendStore store = storeOf({5, 1, gap, 9, 3, gap, 100});
    const struct {
        double from, to;
        std::size_t count;
        double min, max, mean;
    } cases[] = {
        {0, 6, 5, 1, 100, 23.6},                         // everything
        {0.5, 4, 3, 1, 9, 13.0 / 3}, {2, 2, 0, 0, 0, 0}, // only a gap
        {7, 9, 0, 0, 0, 0},                              // after the newest sample
        {-5, 0, 1, 5, 5, 5},
    };
    for (const auto& c : cases) {
        const Stats s = store.stats(kW, c.from, c.to);
        EXPECT_EQ(s.count, c.count) << c.from << ".." << c.to;
        EXPECT_DOUBLE_EQ(s.min, c.min) << c.from << ".." << c.to;
        EXPECT_DOUBLE_EQ(s.max, c.max) << c.from << ".." << c.to;
        EXPECT_NEAR(s.mean, c.mean, 1e-9) << c.from << ".." << c.to;
    }
}

TEST(TrendStore, EnvelopeHoldsMinimumAndMaximumPerColumnAndBreaksAtGaps) {
    const float gap = kGap;
    // Times 0..9 over 5 columns of 2 s: {4,8} {6,2} {gap,gap} {3,gap} {5,7}.
    const TrendStore store = storeOf({4, 8, 6, 2, gap, gap, 3, gap, 5, 7});
    const auto columns = store.envelope(kW, 0, 10, 5);
    ASSERT_EQ(columns.size(), 5u);
    const struct {
        bool data, joins, gap;
        float min, max, first, last;
    } expected[] = {
        {true, false, false, 4, 8, 4, 8}, {true, true, false, 2, 6, 6, 2},
        {false, false, true, 0, 0, 0, 0}, {true, false, true, 3, 3, 3, 3},
        {true, false, false, 5, 7, 5, 7}, // a gap lies between 3 and 5
    };
    for (std::size_t c = 0; c < 5; ++c) {
        const Column& col = columns[c];
        const auto& e = expected[c];
        EXPECT_EQ(col.data, e.data) << "column " << c;
        EXPECT_EQ(col.joins, e.joins) << "column " << c;
        EXPECT_EQ(col.gap, e.gap) << "column " << c;
        if (e.data) {
            EXPECT_EQ(col.min, e.min) << "column " << c;
            EXPECT_EQ(col.max, e.max) << "column " << c;
            EXPECT_EQ(col.first, e.first) << "column " << c;
            EXPECT_EQ(col.last, e.last) << "column " << c;
        }
    }
}

TEST(TrendStore, EnvelopeJoinsTheValueBeforeTheSpanAndCoversLongSpansInFewColumns) {
    const TrendStore store = storeOf({1, 2, 3, 4});
    const auto columns = store.envelope(kW, 1.5, 3.5, 2);
    EXPECT_TRUE(columns[0].joins) << "the sample at 1 s carries the line in";
    EXPECT_EQ(columns[0].first, 3);

    TrendStore day(kDayOfSamples + 10);
    for (std::size_t i = 0; i < kDayOfSamples + 10; ++i)
        day.append(static_cast<double>(i) * 0.5, all(static_cast<float>(i % 100)));
    EXPECT_EQ(day.size(), kDayOfSamples + 10);
    const auto wide = day.envelope(kW, day.oldestTime(), day.newestTime(), 800);
    ASSERT_EQ(wide.size(), 800u);
    for (const Column& c : wide) {
        ASSERT_TRUE(c.data);
        EXPECT_EQ(c.min, 0);
        EXPECT_EQ(c.max, 99);
    }
    EXPECT_TRUE(store.envelope(kW, 5, 5, 10)[0].data == false) << "an empty span";
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
            for (std::size_t c = 0; c < a.size(); ++c) {
                const std::string where = std::to_string(q) + "/" + std::to_string(columns) +
                                          " column " + std::to_string(c);
                ASSERT_EQ(a[c].data, b[c].data) << where;
                EXPECT_EQ(a[c].joins, b[c].joins) << where;
                EXPECT_EQ(a[c].gap, b[c].gap) << where;
                EXPECT_EQ(a[c].min, b[c].min) << where;
                EXPECT_EQ(a[c].max, b[c].max) << where;
                EXPECT_EQ(a[c].first, b[c].first) << where;
                EXPECT_EQ(a[c].last, b[c].last) << where;
            }
        }
        const Stats a = blocks.stats(q, from, to), b = samples.stats(q, from, to);
        EXPECT_EQ(a.count, b.count) << q;
        EXPECT_EQ(a.min, b.min) << q;
        EXPECT_EQ(a.max, b.max) << q;
        EXPECT_NEAR(a.mean, b.mean, 1e-9) << q;
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

TEST(TrendFeed, ReadsDisplayTextsAndTurnsOverloadsIntoGaps) {
    const struct {
        const char* text;
        float value; // NaN: a gap
    } cases[] = {{" 116.4", 116.4f}, {"  .920", 0.92f}, {"-1.234", -1.234f}, {"OL", kGap},
                 {"-OL", kGap},      {"Init", kGap},    {"", kGap},          {"?", kGap},
                 {"50Hz", 50},       {"   0", 0},       {"1e300", kGap}};
    for (const auto& c : cases) {
        const float v = valueOfText(c.text);
        if (std::isnan(c.value))
            EXPECT_TRUE(std::isnan(v)) << c.text;
        else
            EXPECT_FLOAT_EQ(v, c.value) << c.text;
    }
}

TEST(TrendFeed, ClockTextsBecomeTimesAcrossMidnight) {
    const double day = dayStart(2026, 11, 23);
    EXPECT_DOUBLE_EQ(timeOf("10:05:07.4", {2026, 11, 23, 10, 5, 7.6}), day + 36307.4);
    // Set at 23:59:59.9 and read after midnight: still the 23rd.
    EXPECT_DOUBLE_EQ(timeOf("23:59:59.9", {2026, 11, 24, 0, 0, 0.1}), day + 86399.9);
    EXPECT_DOUBLE_EQ(timeOf("00:00:00.0", {2026, 11, 24, 0, 0, 0.1}), day + 86400);
    EXPECT_EQ(clockTextOf(day + 86399.9), "23:59:59.9");
    EXPECT_EQ(dayStart(1970, 1, 2), 86400);
}

class FeedTest : public ::testing::Test {
  protected:
    Added poll(const std::string& clock, bool framed, bool noData = false) {
        readouts.clockText = clock;
        return feed.afterPoll({readouts, noData, framed, {2026, 11, 23, 12, 0, 0}});
    }
    void show(const char* w, const char* pf, const char* v, const char* a, const char* hz = "") {
        auto& p = readouts.Panel3D2;
        p[pa::live::kW] = w;
        p[pa::live::kPF] = pf;
        p[pa::live::kV] = v;
        p[pa::live::kA] = a;
        p[pa::live::kVA] = "126.50";
        p[pa::live::kVAR] = "49.53";
        p[pa::live::kHz] = hz;
    }
    TrendStore store{100};
    TrendFeed feed{store};
    pa::live::Readouts readouts;
};

TEST_F(FeedTest, OneSamplePerClockTextAndGapsForSilenceOverloadAndHold) {
    show(" 116.4", "  .920", "  230", "  .550");
    EXPECT_EQ(poll("", true), Added::Nothing) << "no clock yet";
    EXPECT_EQ(poll("12:00:00.0", true), Added::Sample);
    EXPECT_EQ(poll("12:00:00.0", true), Added::Nothing) << "same clock text";
    EXPECT_EQ(poll("12:00:00.5", false), Added::Nothing) << "a silent tick before NO COM";
    EXPECT_EQ(poll("12:00:01.0", false, true), Added::Gap) << "NO COM";
    show(" 116.4", "  .920", "OL", "  .550");
    EXPECT_EQ(poll("12:00:01.5", true), Added::Sample);
    readouts.holdVisible = true;
    EXPECT_EQ(poll("12:00:02.0", true), Added::Gap) << "HOLD";
    readouts.holdVisible = false;
    show(" 116.4", "  .920", "  230", "  .550", "50Hz");
    EXPECT_EQ(poll("12:00:02.5", true), Added::Sample);
    EXPECT_EQ(poll("12:00:03.0", true), Added::Sample);

    ASSERT_EQ(store.size(), 6u);
    const double noon = dayStart(2026, 11, 23) + 12 * 3600;
    EXPECT_EQ(store.time(0), noon);
    EXPECT_EQ(store.time(5), noon + 3);
    EXPECT_FLOAT_EQ(store.value(0, kW), 116.4f);
    EXPECT_FLOAT_EQ(store.value(0, kVA), 126.5f);
    EXPECT_TRUE(std::isnan(store.value(0, kHz))) << "no frequency read yet";
    EXPECT_TRUE(std::isnan(store.value(1, kW))) << "NO COM";
    EXPECT_FLOAT_EQ(store.value(2, kW), 116.4f);
    for (Quantity q : {kV, kVA, kVAR})
        EXPECT_TRUE(std::isnan(store.value(2, q))) << "V overloaded: " << q;
    EXPECT_TRUE(std::isnan(store.value(3, kPF))) << "HOLD";
    EXPECT_FLOAT_EQ(store.value(4, kHz), 50);
    EXPECT_TRUE(std::isnan(store.value(5, kHz))) << "the same Get Hz reading once only";
}

} // namespace
