// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// poweranalyzer-cli plot: loads one quantity of a data file as the plot window does and writes
// the same chart as PNG and/or PDF, the loaded points as CSV, or the statistics.
//
//   poweranalyzer-cli plot FILE [--quantity 0..8] [--png OUT] [--pdf OUT] [--size WxH]
//                               [--zoom START END] [--stats] [--points] [--force]
//
// --points prints "set,point,value,label" lines (label empty where a point has none; quoted
// when it holds a comma). A file that fails the format check is refused unless --force.
#include "cli/commands.h"
#include "cli/console_ui.h"
#include "cmdline/command_options.h"
#include "datafile/recording_reader.h"
#include "plot/PlotFile.h"
#include "plot/line_reader.h"
#include "text/number_text.h"

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace pa::cli {

using namespace pa::cmdline;
namespace {

// Messages to standard error; the format question answered by --force.
class PlotUi : public ConsoleUi {
  public:
    explicit PlotUi(bool force) : force_(force) {}
    app::Answer message(const std::string& text, const std::string& title, app::Icon icon,
                        app::Buttons buttons) override {
        if (buttons == app::Buttons::YesNo) {
            std::fprintf(stderr, "poweranalyzer-cli: %s: %s\n", text.c_str(),
                         force_ ? "yes (--force)" : "no (give --force to plot it anyway)");
            return force_ ? app::Answer::Yes : app::Answer::No;
        }
        return ConsoleUi::message(text, title, icon, buttons);
    }

  private:
    bool force_;
};

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (char c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

void printPoints(const plot::PlotDocument& doc) {
    const plot::PlotData& data = doc.data();
    std::map<int, std::string> labels;
    for (const auto& label : doc.xLabels())
        labels[label.point] = label.text;
    std::string out;
    for (int s = 0; s < data.setCount; ++s)
        for (std::size_t i = 0; i < data.sets[s].size(); ++i) {
            const int point = static_cast<int>(i) + 1;
            const std::string value = text::shortestGeneral(data.sets[s][i]);
            const auto label = labels.find(point);
            out += std::to_string(s + 1) + "," + std::to_string(point) + "," + value + "," +
                   (label == labels.end() ? "" : csvField(label->second)) + "\n";
        }
    std::fwrite(out.data(), 1, out.size(), stdout);
}

// Qt's own notes on offscreen drawing are noise on a terminal; its errors still show.
void quietQt(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(message));
}

} // namespace

int plotCommand(const std::vector<std::string>& args) {
    PlotOptions o;
    if (const std::string error = parsePlot(args, o); !error.empty())
        return fail(error);
    if (const std::string problem = datafile::unreadable(o.file); !problem.empty())
        return fail(problem);
    if (plot::fileLength(o.file) < 0)
        return fail("cannot read " + o.file);

    qInstallMessageHandler(quietQt);
    PlotUi ui(o.force);
    plot::PlotFile window(ui);
    plot::PlotDocument& doc = window.document();
    doc.setFileName(o.file);
    doc.SelectData(o.quantity);
    if (doc.data().setCount == 0)
        return 1; // refused or nothing to plot; the message says why
    if (o.zoom && !doc.zoomTo(o.zoomStart, o.zoomEnd))
        return 1;
    if (o.stats) {
        if (!doc.statisticsEnabled())
            return fail("no statistics for files of 3600 records or more");
        doc.StatOption();
    }
    window.redraw();
    if (o.points)
        printPoints(doc);
    if (o.stats) {
        const plot::Statistics s = doc.currentStatistics();
        const std::string lines = "count " + std::to_string(s.count) + "\nminimum " +
                                  text::shortestGeneral(s.minimum) + "\nmaximum " +
                                  text::shortestGeneral(s.maximum) + "\nmean " +
                                  text::shortestGeneral(s.mean) + "\nstandard deviation " +
                                  text::shortestGeneral(s.standardDeviation) + "\n";
        std::fwrite(lines.data(), 1, lines.size(), stdout);
    }
    if (!o.png.empty())
        if (const auto error =
                window.savePng(QString::fromStdString(o.png), QSize(o.width, o.height));
            !error.empty())
            return fail(error);
    if (!o.pdf.empty())
        if (const auto error = window.savePdf(QString::fromStdString(o.pdf)); !error.empty())
            return fail(error);
    return 0;
}

} // namespace pa::cli
