// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "trend/trend_store.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>

namespace pa::trend {

TrendStore::TrendStore(std::size_t capacity) : capacity_(std::max<std::size_t>(capacity, 1)) {
    if (capacity_ % kBlock == 0)
        blockCount_ = capacity_ / kBlock;
}

void TrendStore::append(double time, const Values& values, Status status) {
    if (!empty())
        time = std::max(time, newestTime());
    if (blockCount_) {
        const std::size_t b = appended_ / kBlock % blockCount_;
        for (int q = 0; q < kQuantities; ++q) {
            auto& blocks = blocks_[q];
            if (blocks.empty())
                blocks.resize(blockCount_);
            Block& block = blocks[b];
            if (appended_ % kBlock == 0)
                block = Block{};
            const float v = values[q];
            if (std::isnan(v)) {
                block.gap = block.gapAfter = true;
                block.gapBefore |= block.count == 0;
                continue;
            }
            if (block.count == 0) {
                block.min = block.max = block.first = v;
            } else {
                block.min = std::min(block.min, v);
                block.max = std::max(block.max, v);
            }
            block.last = v;
            block.sum += v;
            ++block.count;
            block.gapAfter = false;
        }
    }
    ++appended_;
    if (size_ < capacity_) {
        // Filling up: the ring grows to its capacity and never beyond. Reserving it whole
        // at once costs no memory until samples arrive, and nothing is ever copied.
        if (times_.capacity() < capacity_) {
            times_.reserve(capacity_);
            for (auto& v : values_)
                v.reserve(capacity_);
            status_.reserve(capacity_);
        }
        times_.push_back(time);
        status_.push_back(status);
        for (int q = 0; q < kQuantities; ++q)
            values_[q].push_back(values[q]);
        ++size_;
        return;
    }
    times_[oldest_] = time;
    status_[oldest_] = status;
    for (int q = 0; q < kQuantities; ++q)
        values_[q][oldest_] = values[q];
    oldest_ = oldest_ + 1 == capacity_ ? 0 : oldest_ + 1;
}

void TrendStore::appendGap(double time, Status status) {
    Values gap;
    gap.fill(kGap);
    append(time, gap, status);
}

void TrendStore::clear() {
    appended_ = 0;
    size_ = 0;
    oldest_ = 0;
    times_.clear();
    status_.clear();
    for (auto& v : values_)
        v.clear();
}

std::size_t TrendStore::firstAtOrAfter(double t) const {
    std::size_t low = 0, high = size_;
    while (low < high) {
        const std::size_t mid = low + (high - low) / 2;
        if (time(mid) < t)
            low = mid + 1;
        else
            high = mid;
    }
    return low;
}

std::size_t TrendStore::firstAfter(double t) const {
    std::size_t low = 0, high = size_;
    while (low < high) {
        const std::size_t mid = low + (high - low) / 2;
        if (time(mid) <= t)
            low = mid + 1;
        else
            high = mid;
    }
    return low;
}

const TrendStore::Block* TrendStore::wholeBlock(Quantity q, std::size_t i, std::size_t end) const {
    // A block that starts at sample i lies wholly in the ring (it begins at or after the
    // oldest sample), so its summary covers exactly the samples i .. i + kBlock - 1.
    const std::size_t absolute = appended_ - size_ + i;
    if (!blockCount_ || absolute % kBlock != 0 || i + kBlock > end)
        return nullptr;
    return &blocks_[q][absolute / kBlock % blockCount_];
}

Stats TrendStore::stats(Quantity q, double from, double to) const {
    Stats s;
    double sum = 0;
    const std::size_t end = firstAfter(to);
    for (std::size_t i = firstAtOrAfter(from); i < end; ++i) {
        if (const Block* b = wholeBlock(q, i, end)) {
            if (b->count) {
                s.min = s.count ? std::min<double>(s.min, b->min) : b->min;
                s.max = s.count ? std::max<double>(s.max, b->max) : b->max;
                sum += b->sum;
                s.count += b->count;
            }
            i += kBlock - 1;
            continue;
        }
        const float v = value(i, q);
        if (std::isnan(v))
            continue;
        if (s.count == 0)
            s.min = s.max = v;
        s.min = std::min<double>(s.min, v);
        s.max = std::max<double>(s.max, v);
        sum += v;
        ++s.count;
    }
    if (s.count)
        s.mean = sum / static_cast<double>(s.count);
    return s;
}

std::vector<Column> TrendStore::envelope(Quantity q, double from, double to, int columns) const {
    std::vector<Column> out(static_cast<std::size_t>(std::max(columns, 0)));
    if (out.empty() || !(to > from))
        return out;
    const double perColumn = static_cast<double>(columns) / (to - from);
    bool seen = false;       // a value came before in the span
    bool gapPending = false; // a gap came after the last value
    const std::size_t begin = firstAtOrAfter(from);
    // A value just before the span carries the line in from the left edge.
    if (begin > 0 && !std::isnan(value(begin - 1, q)))
        seen = true;
    const std::size_t end = firstAfter(to);
    auto columnOf = [&](double t) {
        return std::min(columns - 1, static_cast<int>((t - from) * perColumn));
    };
    for (std::size_t i = begin; i < end; ++i) {
        const int c = columnOf(time(i));
        Column& col = out[static_cast<std::size_t>(c)];
        // Many samples to a column: a whole block that falls in one column at once.
        if (const Block* b = wholeBlock(q, i, end); b && columnOf(time(i + kBlock - 1)) == c) {
            i += kBlock - 1;
            col.gap |= b->gap;
            if (b->count == 0) {
                gapPending = true;
                continue;
            }
            if (!col.data) {
                col.data = true;
                col.joins = seen && !gapPending && !b->gapBefore;
                col.min = b->min;
                col.max = b->max;
                col.first = b->first;
            } else {
                col.min = std::min(col.min, b->min);
                col.max = std::max(col.max, b->max);
            }
            col.last = b->last;
            seen = true;
            gapPending = b->gapAfter;
            continue;
        }
        const float v = value(i, q);
        if (std::isnan(v)) {
            col.gap = true;
            gapPending = true;
            continue;
        }
        if (!col.data) {
            col.data = true;
            col.joins = seen && !gapPending;
            col.min = col.max = col.first = v;
        } else {
            col.min = std::min(col.min, v);
            col.max = std::max(col.max, v);
        }
        col.last = v;
        seen = true;
        gapPending = false;
    }
    return out;
}

std::size_t TrendStore::fullBytes() const {
    return capacity_ * (sizeof(double) + kQuantities * sizeof(float) + sizeof(Status)) +
           blockCount_ * kQuantities * sizeof(Block);
}

namespace {

void appendNumber(std::string& out, float v) {
    if (std::isnan(v))
        return;
    char buffer[32];
    const auto r = std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::fixed);
    out.append(buffer, r.ptr);
}

void appendTwoDigits(std::string& out, long long n) {
    out.push_back(static_cast<char>('0' + n / 10 % 10));
    out.push_back(static_cast<char>('0' + n % 10));
}

} // namespace

double dayStart(int year, int month, int day) {
    using namespace std::chrono;
    const sys_days d{std::chrono::year{year} / std::chrono::month{static_cast<unsigned>(month)} /
                     std::chrono::day{static_cast<unsigned>(day)}};
    return static_cast<double>(d.time_since_epoch().count()) * 86400.0;
}

std::string clockTextOf(double time) {
    const long long tenths = std::llround(time * 10);
    const long long inDay = ((tenths % 864000) + 864000) % 864000;
    std::string out;
    appendTwoDigits(out, inDay / 36000);
    out.push_back(':');
    appendTwoDigits(out, inDay / 600 % 60);
    out.push_back(':');
    appendTwoDigits(out, inDay / 10 % 60);
    out.push_back('.');
    out.push_back(static_cast<char>('0' + inDay % 10));
    return out;
}

std::string dateTextOf(double time) {
    using namespace std::chrono;
    const auto days = static_cast<int>(std::floor(std::llround(time * 10) / 864000.0));
    const year_month_day ymd{sys_days{std::chrono::days{days}}};
    std::string out = std::to_string(static_cast<int>(ymd.year()));
    out.push_back('-');
    appendTwoDigits(out, static_cast<unsigned>(ymd.month()));
    out.push_back('-');
    appendTwoDigits(out, static_cast<unsigned>(ymd.day()));
    return out;
}

const char* statusWord(Status s) {
    switch (s) {
    case Status::Paused:
        return "paused";
    case Status::NoCom:
        return "no_com";
    case Status::Overload:
        return "overload";
    default:
        return "ok";
    }
}

std::string toCsv(const TrendStore& store, double from, double to) {
    std::string out = "date,time,W,PF,V,A,VA,VAR,Hz,Angle,kWh,status\r\n";
    for (std::size_t i = store.firstAtOrAfter(from); i < store.size() && store.time(i) <= to; ++i) {
        out += dateTextOf(store.time(i));
        out.push_back(',');
        out += clockTextOf(store.time(i));
        for (int q = 0; q < kQuantities; ++q) {
            out.push_back(',');
            appendNumber(out, store.value(i, static_cast<Quantity>(q)));
        }
        out.push_back(',');
        out += statusWord(store.status(i));
        out += "\r\n";
    }
    return out;
}

} // namespace pa::trend
