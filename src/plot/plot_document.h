// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// What the plot window shows and every command on it, without widgets: the remembered file,
// the chosen quantity, the loaded points, titles, the Y scale, grid and X label choices, the
// zoom and the statistics switch. Questions and refusals go through the Ui seam; the window
// draws this state and adds printing and saving.
#include "app/ui.h"
#include "plot/plot_loader.h"

#include <string>
#include <vector>

namespace pa::plot {

// The texts of the window's messages and questions.
inline constexpr const char* kNoFileMessage = "Please first open a file where data is stored";
inline constexpr const char* kFormatQuestion = "Inncorrect file format, proceed anyway";
inline constexpr const char* kEnvelopeMessage =
    "Records more than 3600, STATIStics function disabled";
inline constexpr const char* kOneRecordMessage =
    "Only one record, can not plot.  Please use VIEW to review your record.";
inline constexpr const char* kNoSuchSetting = "No such setting";
inline constexpr const char* kNegativeMessage = "Negative number is not allowed";
inline constexpr const char* kStartPastEnd = "start record > total records";
inline constexpr const char* kEndNotAfterStart = "End record <= Start record";
inline constexpr const char* kEndPastTotal = "End record > total records";
inline constexpr const char* kOpenFilter = "Text Files (*.txt);;All Files (*.*)";

struct AxisLabel {
    int point; // 1-based
    std::string text;
};

enum class XLabels { Time = 0, RecordNumber = 1 };

class PlotDocument {
  public:
    explicit PlotDocument(app::Ui& ui);

    // The File menu was opened: quantity back to "Watt", axis titles "Watt" and "Time".
    void openfile();
    // Asks for a data file, starting in startFolder when given (the data folder), and
    // remembers it; true when one was chosen.
    bool openfileforplot(const std::string& startFolder = "");
    // Remembers a file as the open dialog does.
    void setFileName(const std::string& path);
    // Chooses quantity 0..8, sets the Y title and loads the file.
    void SelectData(int entry);
    // 0 fitted to the data, 1 set the Y minimum, 2 set the Y maximum.
    void set_scale(int entry);
    // 0 none, 1 horizontal lines, 2 vertical lines, 3 both.
    void set_grid(int entry);
    // 0..2 ask for the X, Y or graph title; 3..5 clear it.
    void set_title(int entry);
    // 0 time labels, 1 record numbers.
    void set_x_label(int entry);
    // Asks for a start and an end record and plots that range.
    void ZoomIn();
    // The same checks and messages on a given range (the command line's zoom).
    bool zoomTo(double start, double end);
    // Switches the statistics display (only while it is enabled).
    void StatOption();
    void clear_graphics();

    void setProgress(Progress progress) { progress_ = std::move(progress); }

    // State.
    const std::string& fileName() const { return fileName_; }
    long records() const { return records_; }
    int quantity() const { return quantity_; }
    bool quantityEnabled(int entry) const;
    const PlotData& data() const { return data_; }
    bool zoomed() const { return zoomed_; }
    bool statisticsEnabled() const { return statisticsEnabled_; }
    bool statisticsShown() const { return statisticsShown_ && data_.setCount == 1; }
    Statistics currentStatistics() const { return statistics(data_.sets[0]); }
    const std::string& graphTitle() const { return graphTitle_; }
    const std::string& xTitle() const { return xTitle_; }
    const std::string& yTitle() const { return yTitle_; }
    bool userScale() const { return userScale_; }
    double yMin() const;
    double yMax() const;
    int yTicks() const;
    int grid() const { return grid_; }
    XLabels xLabelMode() const { return xLabels_; }
    std::vector<AxisLabel> xLabels() const;
    // Record number of a 1-based point (the first record of its group in an envelope).
    long recordOfPoint(int point) const;

  private:
    void load();
    bool haveFile();
    void fitScale();

    app::Ui& ui_;
    Progress progress_;
    std::string fileName_;
    long records_ = 0;
    int quantity_ = 0;
    bool fullLines_ = true;
    PlotData data_;
    bool zoomed_ = false;
    bool statisticsEnabled_ = false, statisticsShown_ = false;
    std::string graphTitle_, xTitle_ = "Time", yTitle_ = "Watt";
    bool userScale_ = false;
    bool minByHand_ = false, maxByHand_ = false;
    double userMin_ = 0, userMax_ = 1;
    double fitMin_ = 0, fitMax_ = 1;
    int fitTicks_ = 6;
    int grid_ = 3;
    XLabels xLabels_ = XLabels::Time;
};

// A number as the messages and default answers show it: "3601", "2.5", "-0.125".
std::string numberText(double value);

// A range around [low, high] that ends on round numbers, with its tick count.
struct NiceRange {
    double low, high;
    int ticks;
};
NiceRange niceRange(double low, double high);

} // namespace pa::plot
