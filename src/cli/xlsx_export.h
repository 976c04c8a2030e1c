// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// A recording as an Excel workbook: numbers stored as numbers and time stamps as date cells,
// so a spreadsheet reads them right whatever the desktop's language (a CSV's "0.922" becomes
// 922 in a German LibreOffice). The header row names each column with its unit and stays in
// view; a recording longer than a sheet's 1,048,575 rows goes on in further sheets.
#include "datafile/csv_export.h"

#include <string>

namespace pa::cli {

// Writes the recording at inPath to outPath (through OutputFile: whole or not at all).
// Returns "" or what went wrong.
std::string exportXlsx(const std::string& inPath, const std::string& outPath, int downloadYear,
                       datafile::ExportSummary& summary,
                       const datafile::ExportCallbacks& callbacks);

} // namespace pa::cli
