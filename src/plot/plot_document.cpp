// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "plot/plot_document.h"

#include "text/leading_number.h"
#include "text/number_text.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace pa::plot {
namespace {

using app::Buttons;
using app::Icon;

constexpr const char* kStartPrompt = "Enter the starting record number";
constexpr const char* kEndPrompt = "Enter the ending record number (max. to_plot records 3600)";

struct TitleQuestion {
    const char* prompt;
    const char* boxTitle;
};
constexpr TitleQuestion kTitleQuestions[] = {
    {"Enter title for the X axis", "X Title"},
    {"Enter title for the Y axis", "Y Title"},
    {"Enter Graph title", "Graph Title"},
};

// The smallest and largest value over all sets; nothing when the graph is empty.
bool dataRange(const PlotData& data, double& low, double& high) {
    bool any = false;
    for (int s = 0; s < data.setCount; ++s)
        for (double v : data.sets[s]) {
            low = any ? std::min(low, v) : v;
            high = any ? std::max(high, v) : v;
            any = true;
        }
    return any;
}

} // namespace

std::string numberText(double value) {
    if (std::isfinite(value) && value == std::floor(value) && std::fabs(value) < 1e15)
        return std::to_string(static_cast<long long>(value));
    return text::shortestGeneral(value, 15);
}

NiceRange niceRange(double low, double high) {
    if (!(high > low)) {
        // One value: a band around it.
        const double pad = low == 0 ? 1 : std::fabs(low) * 0.1;
        low -= pad;
        high += pad;
    }
    const double rough = (high - low) / 5;
    const double magnitude = std::pow(10, std::floor(std::log10(rough)));
    double step = magnitude;
    for (double f : {1.0, 2.0, 2.5, 5.0, 10.0})
        if (f * magnitude >= rough) {
            step = f * magnitude;
            break;
        }
    NiceRange r{std::floor(low / step) * step, std::ceil(high / step) * step, 0};
    r.ticks = static_cast<int>(std::lround((r.high - r.low) / step)) + 1;
    return r;
}

PlotDocument::PlotDocument(app::Ui& ui) : ui_(ui) {}

void PlotDocument::openfile() {
    quantity_ = 0;
    yTitle_ = kQuantities[0].title;
    xTitle_ = "Time";
}

bool PlotDocument::openfileforplot(const std::string& startFolder) {
    const auto path = startFolder.empty()
                          ? ui_.openFile("Open a data file to plot", kOpenFilter)
                          : ui_.openFileIn("Open a data file to plot", kOpenFilter, startFolder);
    if (!path || path->empty())
        return false;
    setFileName(*path);
    return true;
}

void PlotDocument::setFileName(const std::string& path) {
    fileName_ = path;
    const auto probe = probeFile(path);
    records_ = probe ? probe->records : 0;
}

bool PlotDocument::haveFile() {
    if (!fileName_.empty())
        return true;
    ui_.message(kNoFileMessage, "", Icon::Critical);
    return false;
}

bool PlotDocument::quantityEnabled(int entry) const {
    return entry >= 0 && entry < static_cast<int>(kQuantities.size()) &&
           (fullLines_ || entry < kFirstLongEntry);
}

void PlotDocument::SelectData(int entry) {
    if (entry < 0 || entry >= static_cast<int>(kQuantities.size()))
        return;
    if (!haveFile())
        return;
    quantity_ = entry;
    yTitle_ = kQuantities[entry].title;
    load();
}

void PlotDocument::load() {
    const auto probe = probeFile(fileName_);
    if (!probe) {
        ui_.message("Can not open " + fileName_, "", Icon::Critical);
        return;
    }
    records_ = probe->records;
    if (!probe->formatOk &&
        ui_.message(kFormatQuestion, "", Icon::Question, Buttons::YesNo) != app::Answer::Yes)
        return;
    fullLines_ = probe->fullLines;
    if (records_ < kEnvelopeFrom) {
        statisticsEnabled_ = true;
        if (records_ < 2) {
            ui_.message(kOneRecordMessage, "", Icon::Exclamation);
            return;
        }
    } else {
        ui_.message(kEnvelopeMessage);
        statisticsEnabled_ = false;
        statisticsShown_ = false;
    }
    auto data = loadRecords(fileName_, kQuantities[quantity_], records_, progress_);
    if (!data) {
        ui_.message("Can not open " + fileName_, "", Icon::Critical);
        return;
    }
    data_ = std::move(*data);
    zoomed_ = false;
    // A new quantity starts with its own fitted scale.
    userScale_ = minByHand_ = maxByHand_ = false;
    fitScale();
}

void PlotDocument::fitScale() {
    double low = 0, high = 1;
    dataRange(data_, low, high);
    const NiceRange r = niceRange(low, high);
    fitMin_ = r.low;
    fitMax_ = r.high;
    fitTicks_ = r.ticks;
}

double PlotDocument::yMin() const {
    return userScale_ ? userMin_ : fitMin_;
}
double PlotDocument::yMax() const {
    return userScale_ ? userMax_ : fitMax_;
}
int PlotDocument::yTicks() const {
    return userScale_ ? 6 : fitTicks_;
}

void PlotDocument::set_scale(int entry) {
    if (entry == 0) {
        userScale_ = minByHand_ = maxByHand_ = false;
        fitScale();
        return;
    }
    if (entry != 1 && entry != 2)
        return;
    const bool minimum = entry == 1;
    const auto answer =
        minimum
            ? ui_.input("Enter minimum value for Y (vertical) axis", "Min Y", numberText(yMin()))
            : ui_.input("Enter maximum value for Y (vertical) axis", "Max Y", numberText(yMax()));
    if (!answer || answer->empty())
        return;
    const double value = text::leadingNumber(*answer);
    double low = yMin(), high = yMax();
    dataRange(data_, low, high);
    if (minimum) {
        userMin_ = value;
        minByHand_ = true;
        userMax_ = maxByHand_ ? userMax_ : high;
    } else {
        userMax_ = value;
        maxByHand_ = true;
        userMin_ = minByHand_ ? userMin_ : low;
    }
    userScale_ = true;
}

void PlotDocument::set_grid(int entry) {
    if (entry < 0 || entry > 3) {
        ui_.message(kNoSuchSetting, "", Icon::Exclamation);
        return;
    }
    grid_ = entry;
}

void PlotDocument::set_title(int entry) {
    std::string* titles[] = {&xTitle_, &yTitle_, &graphTitle_};
    if (entry >= 0 && entry <= 2) {
        const auto& q = kTitleQuestions[entry];
        const auto answer = ui_.input(q.prompt, q.boxTitle, *titles[entry]);
        if (answer && !answer->empty())
            *titles[entry] = *answer;
    } else if (entry >= 3 && entry <= 5) {
        titles[entry - 3]->clear();
    }
}

void PlotDocument::set_x_label(int entry) {
    if (entry == 0 || entry == 1)
        xLabels_ = static_cast<XLabels>(entry);
}

void PlotDocument::ZoomIn() {
    if (!haveFile())
        return;
    const std::string boxTitle = "Total " + std::to_string(records_) + " records";
    const auto first = ui_.input(kStartPrompt, boxTitle, "1");
    if (!first || first->empty())
        return;
    const double start = text::leadingNumber(*first);
    if (start < 0) {
        ui_.message(kNegativeMessage, "", Icon::Exclamation);
        return;
    }
    if (start > static_cast<double>(records_)) {
        ui_.message(kStartPastEnd, "", Icon::Exclamation);
        return;
    }
    const double suggested =
        std::min(static_cast<double>(records_), std::floor(start) + kZoomMaxRecords - 1);
    const auto last = ui_.input(kEndPrompt, boxTitle, numberText(suggested));
    if (!last || last->empty())
        return;
    zoomTo(start, text::leadingNumber(*last));
}

bool PlotDocument::zoomTo(double start, double end) {
    if (!haveFile())
        return false;
    const double total = static_cast<double>(records_);
    const char* refusal = nullptr;
    if (start < 0 || end < 0)
        refusal = kNegativeMessage;
    else if (start > total)
        refusal = kStartPastEnd;
    else if (end <= start)
        refusal = kEndNotAfterStart;
    else if (end > total)
        refusal = kEndPastTotal;
    if (refusal) {
        ui_.message(refusal, "", Icon::Exclamation);
        return false;
    }
    const double count = end - start + 1;
    if (count > kZoomMaxRecords) {
        ui_.message("Starting record " + numberText(start) + ", ending record " + numberText(end) +
                        ", total records " + numberText(count) + " > 3600",
                    "", Icon::Exclamation);
        return false;
    }
    auto data = loadRange(fileName_, kQuantities[quantity_], start, end);
    if (!data) {
        ui_.message("Can not open " + fileName_, "", Icon::Critical);
        return false;
    }
    data_ = std::move(*data);
    zoomed_ = true;
    fitScale();
    return true;
}

void PlotDocument::StatOption() {
    if (statisticsEnabled_)
        statisticsShown_ = !statisticsShown_;
}

void PlotDocument::clear_graphics() {
    data_ = PlotData{};
    zoomed_ = false;
    fitScale();
}

std::vector<AxisLabel> PlotDocument::xLabels() const {
    std::vector<AxisLabel> labels;
    const int points = static_cast<int>(data_.points());
    for (std::size_t i = 0; i < data_.labels.size(); ++i) {
        const int point = 1 + static_cast<int>(i) * data_.labelInterval;
        if (point > points)
            break;
        labels.push_back({point, xLabels_ == XLabels::Time ? data_.labels[i]
                                                           : std::to_string(recordOfPoint(point))});
    }
    return labels;
}

long PlotDocument::recordOfPoint(int point) const {
    return data_.firstRecord + static_cast<long>(point - 1) * data_.step;
}

} // namespace pa::plot
