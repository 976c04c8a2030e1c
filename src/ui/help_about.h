// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The Help menu's documents and the About box text.
#include <functional>
#include <string>

namespace pa::ui {

// The six items of Help > User Manual, in menu order. Only English and Spanish have a manual;
// the others are offered and open nothing.
inline constexpr const char* kManualLanguages[] = {"English", "French",  "German",
                                                   "Spanish", "Italian", "Portuguese"};

// Whether a file is there (not a folder).
bool isFile(const std::string& path);

// The manual of menu item `item` (0..5), or "" when the item has none. It is looked for in
// the "help" folder beside the program (programFolder is the program's own folder, not the
// current one), then, outside Windows, in the documents folder of the installation the
// program belongs to (PREFIX/share/doc/poweranalyzer for a program in
// PREFIX/lib/poweranalyzer) and in /usr/share/doc/poweranalyzer. The first place that
// holds it wins; when none does, the path beside the program, for the message to name.
std::string manualPath(const std::string& programFolder, int item,
                       const std::function<bool(const std::string&)>& exists = isFile);

// The About box: model, version and notice, each separated by a blank line (CR LF CR LF),
// the first two pushed right by as many blanks as the notice is longer than they are.
std::string aboutText();

} // namespace pa::ui
