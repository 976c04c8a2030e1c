// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Arbitrary file contents through the load survey: as one file, or cut in two files read as
// one recording (which may overlap in time and be refused). Nothing may be dropped without a
// word: every record, lost-communication line and malformed line the statistics count is
// counted by the survey too (a time that goes back as a malformed line); shares lie between
// 0 and 1; the peaks come highest first and the load-duration curve never rises; the JSON and
// text forms are built, the JSON valid UTF-8.
#include "datafile/recording_stats.h"
#include "report/load_survey.h"
#include "report/survey_format.h"
#include "text/escaped_text.h"

#include "scratch_file.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void check(bool ok) {
    if (!ok)
        std::abort();
}

bool writeFile(const std::string& path, const std::uint8_t* data, std::size_t size) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        return false;
    std::fwrite(data, 1, size, f);
    return std::fclose(f) == 0;
}

bool validUtf8(const std::string& s) {
    for (std::size_t i = 0; i < s.size();) {
        if (static_cast<unsigned char>(s[i]) < 0x80) {
            ++i;
            continue;
        }
        char32_t cp = 0;
        const std::size_t n = pa::text::utf8Sequence(std::string_view(s).substr(i), cp);
        if (n == 0)
            return false;
        i += n;
    }
    return true;
}

void checkShare(const std::optional<double>& v) {
    check(!v || !std::isfinite(*v) || (*v >= -1e-9 && *v <= 1 + 1e-9));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string first = pa::fuzzing::scratchPath("report-a"),
                             second = pa::fuzzing::scratchPath("report-b");
    // An odd first byte cuts the rest in two files, given in reverse order.
    const bool two = size > 0 && (data[0] & 1);
    const std::size_t body = size > 0 ? 1 : 0, cut = two ? body + (size - body) / 2 : size;
    if (!writeFile(first, data + body, cut - body) || !writeFile(second, data + cut, size - cut))
        return 0;
    const std::vector<std::string> files =
        two ? std::vector<std::string>{second, first} : std::vector<std::string>{first};

    std::uint64_t problems = 0;
    const pa::report::SurveyCallbacks callbacks{
        [&](const std::string&, const pa::datafile::Entry&) { ++problems; }, {}};
    pa::report::SurveyOptions options;
    options.downloadYear = 2026;
    pa::report::Survey s;
    const std::string error = pa::report::gatherSurvey(files, options, s, callbacks);
    if (!error.empty()) {
        check(two && error.find(" overlap in time ") != std::string::npos);
        return 0;
    }
    check(problems == s.malformedLines);

    std::uint64_t lines = 0;
    for (const std::string& f : files) {
        pa::datafile::RecordingStats stats;
        check(pa::datafile::gatherStats(f, 2026, stats, {}).empty());
        lines += stats.whole().records + stats.whole().lostLines + stats.malformedLines();
    }
    check(lines == s.records + s.lostLines + s.malformedLines);

    for (std::size_t i = 1; i < s.peaks.size(); ++i)
        check(!(s.peaks[i].value > s.peaks[i - 1].value));
    check(s.peaks.size() <= 5);
    for (std::size_t i = 1; i < s.durationCurve.size(); ++i)
        check(!(s.durationCurve[i] > s.durationCurve[i - 1]));
    for (const auto& share : {s.shareWithin10, s.shareWithinPlus10Minus15, s.shareReachingTarget,
                              s.shareOvercompensated})
        checkShare(share);
    check(s.dips.size() <= s.dipCount && s.swells.size() <= s.swellCount);
    check(validUtf8(pa::report::surveyJson(s)));
    pa::report::surveyText(s);
    return 0;
}
