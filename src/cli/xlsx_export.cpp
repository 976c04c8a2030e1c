// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "cli/xlsx_export.h"

#include "datafile/data_folder.h"
#include "datafile/output_file.h"

#include <xlsxwriter.h>

#include <filesystem>
#include <fstream>
#include <random>

namespace pa::cli {
namespace fs = std::filesystem;
using namespace pa::datafile;

namespace {

constexpr const char* kHeader[] = {
    "time",           "record",       "power (W)",      "PF",
    "voltage (V)",    "current (A)",  "angle (°)",      "apparent (VA)",
    "reactive (VAR)", "energy (kWh)", "estimate (kWh)", "period",
    "hours per day",  "cost",         "status"};
constexpr lxw_row_t kRowsPerSheet = 1'048'576; // the header and 1,048,575 rows
// Days from Excel's day 0 (1899-12-30) to 1970-01-01.
constexpr double kExcelDaysTo1970 = 25569;

// A folder of our own for the library's files, removed with the object.
class PrivateFolder {
  public:
    PrivateFolder() {
        std::random_device random;
        for (int attempt = 0; attempt < 100 && path_.empty(); ++attempt) {
            const fs::path p =
                fs::temp_directory_path() / ("poweranalyzer-xlsx-" + std::to_string(random()));
            std::error_code ec;
            if (fs::create_directory(p, ec)) {
                fs::permissions(p, fs::perms::owner_all, ec);
                path_ = p;
            }
        }
    }
    ~PrivateFolder() {
        std::error_code ec;
        if (!path_.empty())
            fs::remove_all(path_, ec);
    }
    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

class Book {
  public:
    Book(const fs::path& folder) : tmpdir_(folder.string()) {
        lxw_workbook_options options{};
        options.constant_memory = LXW_TRUE; // rows go to disk as they are written
        options.tmpdir = tmpdir_.data();
        options.use_zip64 = LXW_TRUE;
        book_ = workbook_new_opt((folder / "book.xlsx").string().c_str(), &options);
        if (!book_)
            return;
        bold_ = workbook_add_format(book_);
        format_set_bold(bold_);
        time_ = workbook_add_format(book_);
        format_set_num_format(time_, "yyyy-mm-dd hh:mm:ss.000");
        newSheet();
    }
    ~Book() {
        if (book_)
            workbook_close(book_);
    }
    bool ok() const { return book_ != nullptr; }

    void add(const Entry& e) {
        if (row_ == kRowsPerSheet)
            newSheet();
        worksheet_write_number(sheet_, row_, 0, e.timeMs / 86'400'000.0 + kExcelDaysTo1970, time_);
        if (e.kind == EntryKind::LostCommunication) {
            worksheet_write_string(sheet_, row_++, 14, "no_com", nullptr);
            return;
        }
        number(1, e.record);
        const bool noVA = !e.values[kQV].number || !e.values[kQA].number;
        const bool noVAR = noVA || !e.values[kQW].number;
        for (int q = 0; q < kQuantityCount; ++q)
            if (!(q == kQVA && noVA) && !(q == kQVAR && noVAR))
                number(static_cast<lxw_col_t>(2 + q), e.values[q]);
        if (!e.period.empty())
            worksheet_write_string(sheet_, row_, 11, std::string(e.period).c_str(), nullptr);
        number(12, e.hoursPerDay);
        number(13, e.cost);
        worksheet_write_string(sheet_, row_++, 14, e.overload ? "overload" : "ok", nullptr);
    }

    // Closes the workbook; "" or the library's reason.
    std::string close() {
        const lxw_error error = workbook_close(book_);
        book_ = nullptr;
        return error == LXW_NO_ERROR ? "" : lxw_strerror(error);
    }

  private:
    void newSheet() {
        const std::string name = "Recording" + (sheets_ ? " " + std::to_string(sheets_ + 1) : "");
        sheet_ = workbook_add_worksheet(book_, name.c_str());
        ++sheets_;
        for (lxw_col_t c = 0; c < 15; ++c)
            worksheet_write_string(sheet_, 0, c, kHeader[c], bold_);
        worksheet_set_column(sheet_, 0, 0, 24, nullptr);
        worksheet_set_column(sheet_, 1, 14, 13, nullptr);
        worksheet_freeze_panes(sheet_, 1, 0);
        row_ = 1;
    }
    void number(lxw_col_t column, const FieldValue& v) {
        if (v.number)
            worksheet_write_number(sheet_, row_, column, *v.number, nullptr);
    }

    std::string tmpdir_;
    lxw_workbook* book_ = nullptr;
    lxw_worksheet* sheet_ = nullptr;
    lxw_format *bold_ = nullptr, *time_ = nullptr;
    lxw_row_t row_ = 0;
    int sheets_ = 0;
};

// Copies the finished workbook into its target.
std::string copyInto(const fs::path& from, OutputFile& out) {
    std::ifstream in(from, std::ios::binary);
    std::string block(1 << 20, '\0');
    while (in) {
        in.read(block.data(), static_cast<std::streamsize>(block.size()));
        if (!out.write(std::string_view(block.data(), static_cast<std::size_t>(in.gcount()))))
            return out.error();
    }
    if (!in.eof())
        out.abandon("cannot read the finished workbook: " + systemReason(errno));
    return out.commit();
}

} // namespace

std::string exportXlsx(const std::string& inPath, const std::string& outPath, int downloadYear,
                       ExportSummary& summary, const ExportCallbacks& callbacks) {
    if (std::string problem = unreadable(inPath); !problem.empty())
        return problem;
    OutputFile out(outPath);
    if (!out.ok())
        return out.error();
    PrivateFolder folder;
    if (folder.path().empty())
        return "cannot write " + outPath + ": no temporary folder can be made";
    Book book(folder.path());
    if (!book.ok())
        return "cannot write " + outPath + ": the workbook could not be started";
    RecordingReader reader(downloadYear);
    const std::string error = readRecording(inPath, reader, [&](const Entry& e, std::uint64_t) {
        ++summary.lines;
        switch (e.kind) {
        case EntryKind::Record:
            ++summary.records;
            summary.overloads += e.overload;
            book.add(e);
            break;
        case EntryKind::LostCommunication:
            ++summary.lostLines;
            book.add(e);
            break;
        case EntryKind::Malformed:
            ++summary.malformed;
            if (callbacks.problem)
                callbacks.problem(e);
            break;
        default:
            break;
        }
        return true;
    });
    if (!error.empty())
        return error;
    if (const std::string closed = book.close(); !closed.empty())
        return "cannot write " + outPath + ": " + closed;
    return copyInto(folder.path() / "book.xlsx", out);
}

} // namespace pa::cli
