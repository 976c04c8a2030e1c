// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "datafile/windows_names.h"

#include <array>

namespace pa::datafile {
namespace {

constexpr std::string_view kRefusedCharacters = "<>\"|?*";

char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// The part Windows looks at for a device: up to the first point, without blanks after it.
std::string deviceStem(std::string_view name) {
    std::string stem(name.substr(0, name.find('.')));
    while (!stem.empty() && stem.back() == ' ')
        stem.pop_back();
    for (char& c : stem)
        c = upper(c);
    return stem;
}

bool isDeviceName(const std::string& stem) {
    constexpr std::array<std::string_view, 4> kDevices = {"CON", "PRN", "AUX", "NUL"};
    for (std::string_view d : kDevices)
        if (stem == d)
            return true;
    // COM and LPT take a digit, or the superscript digits 1-3 (UTF-8 C2 B9, C2 B2, C2 B3).
    const std::string_view s = stem;
    if (s.substr(0, 3) != "COM" && s.substr(0, 3) != "LPT")
        return false;
    const std::string_view tail = s.substr(3);
    return (tail.size() == 1 && tail[0] >= '0' && tail[0] <= '9') || tail == "\xC2\xB9" ||
           tail == "\xC2\xB2" || tail == "\xC2\xB3";
}

} // namespace

std::string windowsNameProblem(std::string_view name) {
    if (const auto bad = name.find_first_of(kRefusedCharacters); bad != std::string_view::npos)
        return "A file name cannot contain the character " + std::string(1, name[bad]) +
               " (nor any of < > \" | ? *).";
    if (const std::string stem = deviceStem(name); isDeviceName(stem))
        return stem + " is the name of a device in Windows, not of a file.";
    return "";
}

} // namespace pa::datafile
