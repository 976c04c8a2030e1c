// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// File > Report... of the file viewer and the plot window: asks for the price, the nominal
// voltage and the target power factor (the defaults shown), then where to put the PDF
// (beside the recording, "<name>-report.pdf"), reads the recording with a progress dialog
// that can cancel, writes the PDF and opens it in the system's viewer.
#include "app/ui.h"
#include "report/load_survey.h"

#include <optional>
#include <string>

class QWidget;

namespace pa::ui {

// The dialog for the report's options, filled with `defaults`; nothing when cancelled.
std::optional<report::SurveyOptions> askSurveyOptions(QWidget* parent, int language,
                                                      const report::SurveyOptions& defaults);

// Makes the report of the recording at dataPath in the language (1 English, 2 Chinese);
// false when there is none, the user cancelled, or it failed (after saying why).
bool makeSurveyReport(app::Ui& ui, QWidget* parent, const std::string& dataPath, int language);

} // namespace pa::ui
