// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// File > Export to CSV of the file viewer and the plot window: asks where to put the CSV
// (beside the recording, same name, ".csv"), writes it with a progress dialog that can
// cancel, and says what was written, or why not. The separator follows the system's
// number format, so the spreadsheet of this machine opens the file directly: commas and
// decimal points, or semicolons and decimal commas where the decimal mark is a comma.
#include "app/ui.h"

#include <string>

class QWidget;

namespace pa::ui {

// Exports the recording at dataPath; false when there is none, the user cancelled, or the
// export failed (after saying why).
bool exportRecording(app::Ui& ui, QWidget* parent, const std::string& dataPath, int language = 1);

} // namespace pa::ui
