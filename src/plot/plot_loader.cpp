#include "plot/plot_loader.h"

#include "plot/line_reader.h"
#include "text/leading_number.h"

#include <algorithm>
#include <cmath>

namespace pa::plot {
namespace {

// Bytes read between two progress reports.
constexpr std::uint64_t kProgressBytes = 16u << 20;

char columnChar(std::string_view line, int column) {
    const std::string_view c = columnSlice(line, column, 1);
    return c.empty() ? '\0' : c[0];
}

// Collects points and keeps the time text of points 1, K + 1, 2K + 1, ...
class PointSink {
  public:
    PointSink(PlotData& data, int interval) : data_(data), interval_(interval) {}
    void label(std::string_view line) {
        const long point = static_cast<long>(data_.sets[0].size()); // 0-based, before adding
        if (point % interval_ == 0 &&
            data_.labels.size() < static_cast<std::size_t>(kLabelTableSize))
            data_.labels.emplace_back(columnSlice(line, kLabelColumn, kLabelWidth));
    }

  private:
    PlotData& data_;
    int interval_;
};

} // namespace

long estimateRecords(std::int64_t length, std::uint64_t firstLineBytes) {
    if (length <= 0)
        return 0;
    return static_cast<long>(
        text::roundHalfEven(static_cast<double>(length) / static_cast<double>(firstLineBytes + 2)));
}

bool formatOk(std::string_view firstLine) {
    return std::all_of(kCommaColumns.begin(), kCommaColumns.end(),
                       [&](int column) { return columnChar(firstLine, column) == ','; });
}

std::optional<FileProbe> probeFile(const std::string& path) {
    LineReader reader;
    if (!reader.open(path))
        return std::nullopt;
    FileProbe probe;
    probe.length = std::max<std::int64_t>(fileLength(path), 0);
    std::string_view head;
    if (reader.next(head, probe.firstLineBytes))
        probe.firstLine.assign(head);
    probe.records = estimateRecords(probe.length, probe.firstLineBytes);
    probe.formatOk = formatOk(probe.firstLine);
    probe.fullLines = characterCount(probe.firstLine) >= static_cast<std::size_t>(kFullLineLength);
    return probe;
}

long envelopeStep(long records) {
    return records % kEnvelopePoints == 0 ? records / kEnvelopePoints
                                          : records / kEnvelopePoints + 1;
}

long envelopePoints(long records, long step) {
    return records % step == 0 ? records / step : records / step + 1;
}

int labelInterval(double count) {
    return std::max(1, static_cast<int>(text::roundHalfEven(count / kLabelsAlongAxis)));
}

std::optional<PlotData> loadRecords(const std::string& path, const Quantity& quantity, long records,
                                    const Progress& progress) {
    LineReader reader;
    if (!reader.open(path))
        return std::nullopt;
    PlotData data;
    const bool envelope = records >= kEnvelopeFrom;
    data.step = envelope ? envelopeStep(records) : 1;
    const long points = envelope ? envelopePoints(records, data.step) : records;
    data.setCount = envelope ? 2 : 1;
    data.labelInterval = labelInterval(static_cast<double>(points));
    for (int set = 0; set < data.setCount; ++set)
        data.sets[set].reserve(static_cast<std::size_t>(std::max(points, 0L)));
    PointSink sink(data, data.labelInterval);

    std::string_view line;
    std::uint64_t length = 0;
    std::uint64_t nextReport = kProgressBytes;
    long inGroup = 0;
    double low = 0, high = 0;
    auto closeGroup = [&] {
        data.sets[0].push_back(low);
        data.sets[1].push_back(high);
        inGroup = 0;
    };
    while (static_cast<long>(data.sets[0].size()) < points && reader.next(line, length)) {
        const double value = sliceValue(columnSlice(line, quantity.startColumn, quantity.width));
        if (!envelope) {
            sink.label(line);
            data.sets[0].push_back(value);
        } else {
            if (inGroup == 0) {
                sink.label(line);
                low = high = value;
            } else {
                low = std::min(low, value);
                high = std::max(high, value);
            }
            if (++inGroup == data.step)
                closeGroup();
        }
        if (progress && reader.position() >= nextReport) {
            progress(reader.position());
            nextReport = reader.position() + kProgressBytes;
        }
    }
    if (inGroup > 0)
        closeGroup(); // the file ended inside a group
    while (reader.next(line, length))
        ++data.linesNotPlotted;
    return data;
}

std::optional<PlotData> loadRange(const std::string& path, const Quantity& quantity, double start,
                                  double end) {
    LineReader reader;
    if (!reader.open(path))
        return std::nullopt;
    PlotData data;
    data.setCount = 1;
    data.labelInterval = labelInterval(end - start + 1);
    data.firstRecord = static_cast<long>(std::max(1.0, std::ceil(start)));
    PointSink sink(data, data.labelInterval);
    std::string_view line;
    std::uint64_t length = 0;
    for (long record = 1; record <= end && reader.next(line, length); ++record) {
        if (record < start)
            continue;
        sink.label(line);
        data.sets[0].push_back(sliceValue(columnSlice(line, quantity.startColumn, quantity.width)));
    }
    return data;
}

Statistics statistics(const std::vector<double>& values) {
    Statistics s;
    double m2 = 0;
    for (double v : values) {
        if (s.count == 0) {
            s.minimum = s.maximum = v;
        } else {
            s.minimum = std::min(s.minimum, v);
            s.maximum = std::max(s.maximum, v);
        }
        ++s.count;
        const double delta = v - s.mean; // Welford: stable for long runs of close values
        s.mean += delta / static_cast<double>(s.count);
        m2 += delta * (v - s.mean);
    }
    if (s.count > 1)
        s.standardDeviation = std::sqrt(m2 / static_cast<double>(s.count - 1));
    return s;
}

} // namespace pa::plot
