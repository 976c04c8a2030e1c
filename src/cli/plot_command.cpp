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
#include "datafile/recording_reader.h"
#include "plot/PlotFile.h"
#include "plot/line_reader.h"
#include "text/leading_number.h"
#include "text/number_text.h"

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace pa::cli {
namespace {

struct PlotOptions {
    std::string file, png, pdf;
    int quantity = 0;
    int width = 1280, height = 720;
    bool zoom = false;
    double zoomStart = 0, zoomEnd = 0;
    bool stats = false, points = false, force = false;
};

bool wholeNumber(const std::string& text, long low, long high, long& out) {
    char* end = nullptr;
    out = std::strtol(text.c_str(), &end, 10);
    return !text.empty() && !*end && out >= low && out <= high;
}

std::string parsePlot(const std::vector<std::string>& args, PlotOptions& o) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        auto value = [&]() -> const std::string* {
            return i + 1 < args.size() ? &args[++i] : nullptr;
        };
        if (a == "--stats") {
            o.stats = true;
        } else if (a == "--points") {
            o.points = true;
        } else if (a == "--force") {
            o.force = true;
        } else if (a == "--quantity" || a == "--png" || a == "--pdf" || a == "--size") {
            const std::string* v = value();
            if (!v)
                return a + " needs a value";
            long n = 0;
            if (a == "--quantity") {
                if (!wholeNumber(*v, 0, 8, n))
                    return "--quantity takes 0 to 8 (0 Watt, 1 PF, 2 Volt, 3 Ampere, 4 Phase "
                           "Angle, 5 VA, 6 VAR, 7 KWH, 8 Est. KWH)";
                o.quantity = static_cast<int>(n);
            } else if (a == "--png") {
                o.png = *v;
            } else if (a == "--pdf") {
                o.pdf = *v;
            } else {
                const auto x = v->find('x');
                long w = 0, h = 0;
                if (x == std::string::npos || !wholeNumber(v->substr(0, x), 200, 8000, w) ||
                    !wholeNumber(v->substr(x + 1), 150, 8000, h))
                    return "--size takes WIDTHxHEIGHT in pixels, for example 1280x720";
                o.width = static_cast<int>(w);
                o.height = static_cast<int>(h);
            }
        } else if (a == "--zoom") {
            if (i + 2 >= args.size())
                return "--zoom needs START and END record numbers";
            o.zoom = true;
            o.zoomStart = text::leadingNumber(args[++i]);
            o.zoomEnd = text::leadingNumber(args[++i]);
        } else if (!a.empty() && a[0] == '-') {
            return "unknown option " + a;
        } else if (o.file.empty()) {
            o.file = a;
        } else {
            return "one data file only (" + a + ")";
        }
    }
    if (o.file.empty())
        return "give the data file to plot";
    if (o.png.empty() && o.pdf.empty() && !o.points && !o.stats)
        return "nothing to do: give --png OUT, --pdf OUT, --points or --stats";
    return "";
}

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
    if (!o.png.empty() && !window.savePng(QString::fromStdString(o.png), QSize(o.width, o.height)))
        return fail("cannot write " + o.png);
    if (!o.pdf.empty() && !window.savePdf(QString::fromStdString(o.pdf)))
        return fail("cannot write " + o.pdf);
    return 0;
}

} // namespace pa::cli
