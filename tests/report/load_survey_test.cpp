// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The load survey on recordings made here: a 15-minute peak at a known time, a day boundary,
// a dip of known length and depth, a lost-communication spell, a datalogger download, and
// daily files given out of order. Figures are worked out by hand.
#include "datafile/data_file.h"
#include "report/load_survey.h"
#include "text/number_text.h"

#include "support/test_files.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

namespace {

using namespace pa::report;
using pa::datafile::isoTime;
using pa::testing::writeLines;
using pa::text::shortestGeneral;

struct Rec {
    std::int64_t t;
    double w, pf, v, var;
};

constexpr std::int64_t kDay = 86'400'000;
const std::int64_t k15Nov = pa::datafile::daysFromCivil(2026, 11, 15) * kDay;

std::int64_t at(int day, int h, int m, int s) {
    return k15Nov + (day - 15) * kDay + ((h * 60 + m) * 60 + s) * std::int64_t{1000};
}

std::string dataLine(const Rec& r) {
    const std::string iso = isoTime(r.t); // yyyy-mm-ddThh:mm:ss
    pa::datafile::RecordTexts t;
    t.date = iso.substr(5, 2) + "-" + iso.substr(8, 2) + "-" + iso.substr(0, 4);
    t.clock = iso.substr(11, 8) + ".0";
    t.watts = shortestGeneral(r.w);
    t.powerFactor = shortestGeneral(r.pf);
    t.volts = shortestGeneral(r.v);
    t.vars = shortestGeneral(r.var);
    t.energyPerPeriod = "10.00"; // $2.00 for 10 kWh a month: 0.2 a kWh
    t.cost = "$2.00";
    return pa::datafile::recordLine(0, t);
}

// 23:00 to 01:00 every 10 s at PF 0.80: 1000 W but 3000 W from 23:30 to 23:45; 230 V but
// 200, 190 and 205 V at 00:20:00, :10 and :20.
std::vector<Rec> evening() {
    std::vector<Rec> out;
    for (std::int64_t t = at(15, 23, 0, 0); t <= at(16, 1, 0, 0); t += 10'000) {
        const double w = t >= at(15, 23, 30, 0) && t < at(15, 23, 45, 0) ? 3000 : 1000;
        const std::int64_t dip = (t - at(16, 0, 20, 0)) / 10'000;
        const double v = t >= at(16, 0, 20, 0) && dip < 3 ? (dip == 0   ? 200
                                                             : dip == 1 ? 190
                                                                        : 205)
                                                          : 230;
        out.push_back({t, w, 0.8, v, 0.75 * w});
    }
    return out;
}

std::vector<std::string> dataFile(const std::vector<Rec>& records, std::size_t from,
                                  std::size_t to) {
    std::vector<std::string> lines{pa::datafile::headerLine("month")};
    for (std::size_t i = from; i < to && i < records.size(); ++i)
        lines.push_back(dataLine(records[i]));
    return lines;
}

// Every figure as name=value (4 significant digits, "null" for not enough data).
std::map<std::string, std::string> figures(const Survey& s) {
    std::map<std::string, std::string> f;
    auto num = [](const std::optional<double>& v) { return v ? shortestGeneral(*v, 4) : "null"; };
    auto timed = [&](const std::string& name, const std::optional<TimedValue>& v) {
        f[name] = v ? num(v->value) : "null";
        f[name + "@"] = v ? isoTime(v->timeMs) : "null";
    };
    f["first"] = s.firstMs ? isoTime(*s.firstMs) : "null";
    f["last"] = s.lastMs ? isoTime(*s.lastMs) : "null";
    f["records"] = std::to_string(s.records);
    f["lost_lines"] = std::to_string(s.lostLines);
    f["lost_seconds"] = num(s.lostMs / 1000.0);
    f["malformed"] = std::to_string(s.malformedLines);
    f["kWh"] = num(s.kWh);
    f["mean_W"] = num(s.meanW);
    timed("max_W", s.maxW);
    f["days"] = std::to_string(s.days.size());
    for (std::size_t i = 0; i < s.days.size(); ++i) {
        const std::string d = "day" + std::to_string(i) + ".";
        f[d + "date"] = pa::datafile::isoDay(s.days[i].day * kDay);
        f[d + "kWh"] = num(s.days[i].kWh);
        f[d + "cost"] = num(s.cost(s.days[i].kWh));
        timed(d + "max_W", s.days[i].maxW);
        f[d + "V"] = num(s.days[i].minV) + "-" + num(s.days[i].maxV);
    }
    f["intervals"] = std::to_string(s.demandIntervals);
    f["peaks"] = std::to_string(s.peaks.size());
    for (std::size_t i = 0; i < s.peaks.size(); ++i)
        timed("peak" + std::to_string(i), s.peaks[i]);
    f["load_factor"] = num(s.loadFactor);
    for (std::size_t i = 0; i < 5; ++i)
        f["p" + shortestGeneral(kExceededShares[i] * 100)] =
            num(s.exceeded ? std::optional((*s.exceeded)[i]) : std::nullopt);
    for (int b = 0; b < kPfBands; ++b)
        if (s.pfHours[static_cast<std::size_t>(b)] > 0)
            f["pf_band" + std::to_string(b)] = num(s.pfHours[static_cast<std::size_t>(b)]);
    f["hours_below_0.90"] = num(s.hoursBelow090);
    f["kVARh_below_0.90"] = num(s.kVARhBelow090);
    f["means"] = std::to_string(s.tenMinuteMeans);
    f["within10"] = num(s.shareWithin10);
    f["within1015"] = num(s.shareWithinPlus10Minus15);
    timed("lowest", s.lowestMean);
    timed("highest", s.highestMean);
    f["dips"] = std::to_string(s.dipCount);
    f["swells"] = std::to_string(s.swellCount);
    if (!s.dips.empty())
        f["dip0"] = isoTime(s.dips[0].startMs) + "," + num(s.dips[0].seconds) + "s," +
                    num(s.dips[0].extreme) + "V";
    f["uF_p50"] = num(s.uFp50);
    f["uF_p90"] = num(s.uFp90);
    f["uF_p95"] = num(s.uFp95);
    f["uF_max"] = num(s.uFmax);
    f["recommended_uF"] = num(s.recommendeduF);
    f["reaching"] = num(s.shareReachingTarget);
    f["over"] = num(s.shareOvercompensated);
    return f;
}

// Recordings (one or more files) in, figures out.
TEST(LoadSurvey, FiguresOfMadeRecordings) {
    const std::vector<Rec> ev = evening();
    const std::string eveningFigures =
        "first=2026-11-15T23:00:00 last=2026-11-16T01:00:00 records=721 "
        // 2 h at 1000 W, plus 15 min at 2000 W more; split at midnight.
        "kWh=2.5 mean_W=1250 max_W=3000 max_W@=2026-11-15T23:30:00 days=2 day0.date=2026-11-15 "
        "day0.kWh=1.5 day0.cost=0.3 day0.V=230-230 day1.kWh=1 day1.max_W@=2026-11-16T00:00:00 "
        "day1.V=190-230 "
        // Eight intervals (the record at 01:00 covers none of its own).
        "intervals=8 peaks=5 peak0=3000 peak0@=2026-11-15T23:30:00 peak1=1000 "
        "peak1@=2026-11-15T23:00:00 load_factor=0.4167 "
        // 3000 W for 12.5 % of the time.
        "p1=3000 p10=3000 p50=1000 p99=1000 pf_band16=2 hours_below_0.90=2 kVARh_below_0.90=1.875 "
        // Twelve 10-minute means; the one from 00:20 holds the dip: (57 * 230 + 595) / 60.
        "means=12 within10=1 within1015=1 lowest=228.4 lowest@=2026-11-16T00:20:00 highest=230 "
        "dips=1 swells=0 dip0=2026-11-16T00:20:00,30s,190V "
        // To PF 0.95 at 50 Hz: (VAR - W tan(acos 0.95)) / (2 pi 50 V^2); 1000 W: 25.35 uF,
        // 3000 W: 76.05 uF.
        "uF_p50=25.35 uF_p90=76.05 uF_max=76.05 recommended_uF=76.05 "
        // 76.05 uF brings the 3000 W quarter hour to 0.95 and over-compensates the 1000 W
        // records (PF 0.889 leading), except the 30 s of the dip where less voltage means
        // fewer var: 930 s of 7200 reach the target, 6270 s lead below it.
        "reaching=0.1292 over=0.8708";
    SurveyOptions priced;
    priced.price = 0.2;
    std::vector<std::string> bad = dataFile(ev, 0, ev.size());
    bad.insert(bad.begin() + 2, "this is no record");
    // 1000 W from 10:00:00 and 2000 W from 10:00:30, each for 10 s; silent from 10:00:20.
    const std::string date = "11-15-2026";
    const std::vector<std::string> lost = {pa::datafile::headerLine("day"),
                                           dataLine({at(15, 10, 0, 0), 1000, 1, 230, 0}),
                                           dataLine({at(15, 10, 0, 10), 1000, 1, 230, 0}),
                                           pa::datafile::lostCommunicationLine(date, "10:00:20.0"),
                                           pa::datafile::lostCommunicationLine(date, "10:00:21.0"),
                                           dataLine({at(15, 10, 0, 30), 2000, 1, 230, 0}),
                                           dataLine({at(15, 10, 0, 40), 2000, 1, 230, 0})};
    // A download: its date never advances, its clock passes midnight. 500 W at 200 V and 5 A
    // (866 var) every 30 s from 23:59:00.
    const std::vector<std::string> download = {
        "No.,Date,Time,Watts,PF,Volts,Amps", "1,11-15,23:59:00,500.0,0.5,200.0,5.0",
        "2,11-15,23:59:30.0,500.0,0.5,200.0,5.0", "3,11-15,00:00:00.0,500.0,0.5,200.0,5.0",
        "4,11-15,00:00:30.0,500.0,0.5,200.0,5.0"};
    // 1000 W held over six years (2192 days) with no line between: one day entry, not 2192.
    const std::int64_t y2020 = pa::datafile::daysFromCivil(2020, 1, 1) * kDay;
    const std::vector<std::string> gap = {pa::datafile::headerLine("month"),
                                          dataLine({y2020, 1000, 1, 230, 0}),
                                          dataLine({y2020 + 2192 * kDay, 1000, 1, 230, 0})};
    const struct {
        const char* name;
        std::vector<std::vector<std::string>> files;
        SurveyOptions options;
        std::string expected;
    } cases[] = {
        {"one file", {dataFile(ev, 0, ev.size())}, priced, eveningFigures},
        // Daily files given in reverse order: the same recording.
        {"daily files",
         {dataFile(ev, 360, ev.size()), dataFile(ev, 0, 360)},
         priced,
         eveningFigures},
        {"a bad line", {bad}, priced, eveningFigures + " malformed=1"},
        {"lost communication",
         {lost},
         {},
         "records=4 lost_lines=2 lost_seconds=10 kWh=0.008333 day0.cost=0.001667 intervals=0 "
         "peaks=0 load_factor=null means=0 within10=null lowest=null uF_p95=null "
         "recommended_uF=null reaching=null pf_band19=0.005556 hours_below_0.90=0"},
        {"download",
         {download},
         {},
         "first=2026-11-15T23:59:00 last=2026-11-16T00:00:30 kWh=0.0125 day0.kWh=0.008333 "
         "day1.kWh=0.004167 pf_band10=0.025 kVARh_below_0.90=0.02165 uF_max=55.84 dips=1 "
         "dip0=2026-11-15T23:59:00,90s,200V"},
        {"a gap of years", {gap}, {}, "days=2 kWh=5.261e+04 day0.kWh=5.261e+04"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        pa::testing::TempFolder folder;
        std::vector<std::string> paths;
        for (const auto& lines : c.files) {
            paths.push_back(folder.str() + "/f" + std::to_string(paths.size()) + ".txt");
            writeLines(paths.back(), lines);
        }
        SurveyOptions options = c.options;
        options.downloadYear = 2026;
        Survey s;
        ASSERT_EQ(gatherSurvey(paths, options, s), "");
        const auto f = figures(s);
        std::istringstream expected(c.expected);
        for (std::string figure; expected >> figure;) {
            const std::string name = figure.substr(0, figure.find('='));
            ASSERT_TRUE(f.count(name)) << name;
            EXPECT_EQ(name + "=" + f.at(name), figure);
        }
    }
}

TEST(LoadSurvey, ProblemsAndOutput) {
    pa::testing::TempFolder folder;
    const std::vector<Rec> ev = evening();
    const std::string a = folder.str() + "/a.txt", b = folder.str() + "/b.txt";
    for (const auto& [path, from, to] : {std::tuple{a, 0, 400}, {b, 300, 721}}) {
        std::vector<std::string> lines = dataFile(ev, from, to);
        lines.push_back("12-01-2026,1x:00:00.0,bad");
        writeLines(path, lines);
    }
    Survey s;
    const std::string error = gatherSurvey({b, a}, {}, s);
    EXPECT_NE(error.find(a + " and " + b + " overlap"), std::string::npos) << error;

    // A bad line is reported with its file and line; a time that goes back is left out.
    std::vector<std::string> problems;
    const SurveyCallbacks callbacks{[&](const std::string& file, const pa::datafile::Entry& e) {
                                        problems.push_back(file + ":" +
                                                           std::to_string(e.lineNumber));
                                    },
                                    {}};
    ASSERT_EQ(gatherSurvey({a}, {}, s, callbacks), "");
    EXPECT_EQ(problems, std::vector<std::string>{a + ":402"});

    // Not enough data: null in JSON, said in words in text; the file name stays valid UTF-8.
#ifdef _WIN32
    const std::string odd = folder.str() + "/short.txt";
#else
    const std::string odd = folder.str() + "/\xff.txt";
#endif
    writeLines(odd, {pa::datafile::headerLine("month"), dataLine(ev[0])});
    ASSERT_EQ(gatherSurvey({odd}, {}, s), "");
    const std::string json = surveyJson(s);
    EXPECT_NE(json.find("\"peaks\": null"), std::string::npos);
    EXPECT_NE(json.find("\"kWh\": null"), std::string::npos);
#ifndef _WIN32
    EXPECT_NE(json.find("/\xEF\xBF\xBD.txt\""), std::string::npos);
#endif
    EXPECT_NE(surveyText(s).find("load factor: not enough data"), std::string::npos);

    // A PF of 9e99 (a hand-edited file) lands in the top band instead of overflowing.
    writeLines(a, {pa::datafile::headerLine("month"), dataLine(ev[0]),
                   dataLine({ev[0].t + 1000, 100, 9e99, 230, 0}),
                   dataLine({ev[0].t + 2000, 100, 1, 230, 0})});
    ASSERT_EQ(gatherSurvey({a}, {}, s), "");
    EXPECT_GT(s.pfHours.back(), 0);
}

} // namespace
