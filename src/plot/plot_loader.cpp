// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "plot/plot_loader.h"

#include "datafile/data_folder.h"
#include "datafile/recording_pieces.h"
#include "plot/line_reader.h"
#include "text/leading_number.h"

#include <algorithm>
#include <cmath>
#include <fstream>

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

// The time label of the line that begins at byte `offset`, read again from the file: a long
// file's pieces keep only their values and where their lines begin.
std::string labelAt(std::ifstream& in, std::uint64_t offset) {
    std::string head(LineReader::kKeepBytes + 1, '\0');
    in.clear();
    in.seekg(static_cast<std::streamoff>(offset));
    in.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(in.gcount()));
    if (const auto nl = head.find('\n'); nl != std::string::npos) {
        head.resize(nl);
        if (!head.empty() && head.back() == '\r')
            head.pop_back();
    }
    head.resize(std::min(head.size(), LineReader::kKeepBytes));
    return std::string(columnSlice(head, kLabelColumn, kLabelWidth));
}

// The envelope of a long file, read on all cores: each piece's values are taken in the
// file's order into the groups of `step` records. False when a piece cannot be read.
bool loadEnvelopeInPieces(const std::string& path, std::uint64_t length, const Quantity& quantity,
                          long points, PlotData& data, const Progress& progress,
                          const datafile::PieceOptions& options) {
    struct Piece {
        std::vector<double> values;
        std::vector<std::uint64_t> starts; // of each line, from the piece's first byte
        bool failed = false;
    };
    datafile::PieceSlots<Piece> pieces(options);
    const std::vector<std::uint64_t> cuts = datafile::pieceCuts(path, length, options.pieceBytes);
    std::ifstream labels(datafile::pathFromUtf8(path), std::ios::binary);
    std::atomic<bool> stop{false};
    bool failed = false;
    long inGroup = 0;
    double low = 0, high = 0;
    datafile::runInOrder(
        cuts.size() - 1, options, stop,
        [&](std::size_t i) {
            Piece& p = pieces[i];
            p.values.clear();
            p.starts.clear();
            LineReader reader;
            p.failed = !reader.open(path, cuts[i], cuts[i + 1]);
            std::string_view line;
            std::uint64_t lineLength = 0, at = cuts[i];
            while (!p.failed && !stop && reader.next(line, lineLength)) {
                p.values.push_back(
                    sliceValue(columnSlice(line, quantity.startColumn, quantity.width)));
                p.starts.push_back(at - cuts[i]);
                at = reader.position();
            }
        },
        [&](std::size_t i) {
            const Piece& p = pieces[i];
            if ((failed = p.failed))
                return false;
            for (std::size_t k = 0; k < p.values.size(); ++k) {
                const long point = static_cast<long>(data.sets[0].size());
                if (point >= points) {
                    data.linesNotPlotted += p.values.size() - k;
                    break;
                }
                const double value = p.values[k];
                if (inGroup == 0) {
                    if (point % data.labelInterval == 0 &&
                        data.labels.size() < static_cast<std::size_t>(kLabelTableSize))
                        data.labels.push_back(labelAt(labels, cuts[i] + p.starts[k]));
                    low = high = value;
                } else {
                    low = std::min(low, value);
                    high = std::max(high, value);
                }
                if (++inGroup == data.step) {
                    data.sets[0].push_back(low);
                    data.sets[1].push_back(high);
                    inGroup = 0;
                }
            }
            if (progress)
                progress(cuts[i + 1]);
            return true;
        });
    if (inGroup > 0) {
        data.sets[0].push_back(low); // the file ended inside a group
        data.sets[1].push_back(high);
    }
    return !failed;
}

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
                                    const Progress& progress,
                                    const datafile::PieceOptions& pieces) {
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

    if (const std::int64_t bytes = fileLength(path);
        envelope && bytes >= 4 * static_cast<std::int64_t>(pieces.pieceBytes)) {
        if (!loadEnvelopeInPieces(path, static_cast<std::uint64_t>(bytes), quantity, points, data,
                                  progress, pieces))
            return std::nullopt;
        return data;
    }

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
