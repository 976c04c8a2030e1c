#pragma once
// The Help menu's documents and the About box text.
#include <string>

namespace pa::ui {

// The six items of Help > User Manual, in menu order. Only English and Spanish have a manual;
// the others are offered and open nothing.
inline constexpr const char* kManualLanguages[] = {"English", "French",  "German",
                                                   "Spanish", "Italian", "Portuguese"};

// The manual of menu item `item` (0..5) in the "help" folder beside the program, or "" when
// the item has none. programFolder is the program's own folder, not the current one.
std::string manualPath(const std::string& programFolder, int item);

// The About box: model, version and notice, each separated by a blank line (CR LF CR LF),
// the first two pushed right by as many blanks as the notice is longer than they are.
std::string aboutText();

} // namespace pa::ui
