// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The load survey as an A4 PDF, drawn with Qt's painter: a first page with the answers, then
// the charts and the tables, in English or Chinese. Needs a QGuiApplication.
#include "report/load_survey.h"

#include <functional>
#include <string>

namespace pa::report {

// Writes the report to `path` (whole or not at all: drawn in memory, then written once).
// `lang` is "en" or "zh". Returns "" or why the file could not be written.
std::string writeSurveyPdf(const Survey& survey, const std::string& path, const std::string& lang,
                           const std::string& version);

} // namespace pa::report
