// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "logger/console_parser.h"

#include "text/leading_number.h"

#include <cctype>
#include <cstdio>

namespace pa::logger {

namespace {

std::string withoutLeadingBlanks(const std::string& s) {
    const std::size_t first = s.find_first_not_of(' ');
    return first == std::string::npos ? std::string() : s.substr(first);
}

std::string withoutTrailingBlanks(std::string s) {
    while (!s.empty() && s.back() == ' ')
        s.pop_back();
    return s;
}

bool allOf(const std::string& s, std::size_t from, int (*test)(int)) {
    if (from >= s.size())
        return false;
    for (std::size_t i = from; i < s.size(); ++i)
        if (!test(static_cast<unsigned char>(s[i])))
            return false;
    return true;
}

// Decimal: [sign] digits [. digits] [E [sign] digits], at least one digit before the
// exponent.
bool decimalText(const std::string& s) {
    std::size_t i = 0, digits = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-'))
        ++i;
    for (; i < s.size() && std::isdigit(static_cast<unsigned char>(s[i])); ++i)
        ++digits;
    if (i < s.size() && s[i] == '.')
        for (++i; i < s.size() && std::isdigit(static_cast<unsigned char>(s[i])); ++i)
            ++digits;
    if (digits == 0)
        return false;
    if (i < s.size() && (s[i] == 'E' || s[i] == 'e')) {
        ++i;
        if (i < s.size() && (s[i] == '+' || s[i] == '-'))
            ++i;
        return allOf(s, i, [](int c) { return std::isdigit(c); });
    }
    return i == s.size();
}

} // namespace

ConsoleLine parseConsoleLine(const std::string& line) {
    ConsoleLine parsed;
    const std::string text = withoutLeadingBlanks(line);
    if (text.empty())
        return parsed;
    const std::string rest = text.substr(1);
    parsed.command = text.substr(0, 1);
    if (parsed.command == "E") {
        parsed.command = withoutTrailingBlanks(text); // "EEE" arrives as one command
        return parsed;
    }
    const std::string arguments = withoutLeadingBlanks(rest);
    if (const std::size_t blank = arguments.find(' '); blank != std::string::npos) {
        parsed.address = arguments.substr(0, blank);
        parsed.value = arguments.substr(blank + 1);
    } else {
        parsed.address = arguments;
    }
    return parsed;
}

std::optional<double> consoleNumber(const std::string& raw) {
    const std::string s = withoutTrailingBlanks(withoutLeadingBlanks(raw));
    const bool hex = s.size() > 2 && (s[0] == '&') && (s[1] == 'H' || s[1] == 'h') &&
                     allOf(s, 2, [](int c) { return std::isxdigit(c); });
    if (!hex && !decimalText(s))
        return std::nullopt;
    return text::leadingNumber(s);
}

} // namespace pa::logger

namespace pa::logger {

std::string hexDump(int firstAddress, const std::string& bytes) {
    constexpr std::size_t kPerLine = 16;
    std::string out;
    char cell[16];
    for (std::size_t line = 0; line < bytes.size(); line += kPerLine) {
        std::snprintf(cell, sizeof cell, "%04X ", static_cast<unsigned>(firstAddress + line));
        out += cell;
        std::string printable;
        for (std::size_t i = line; i < line + kPerLine; ++i) {
            if (i >= bytes.size()) {
                out += "   ";
                continue;
            }
            const auto b = static_cast<unsigned char>(bytes[i]);
            std::snprintf(cell, sizeof cell, " %02X", b);
            out += cell;
            printable.push_back(b >= 0x20 && b < 0x7F ? static_cast<char>(b) : '.');
        }
        out += "  " + printable + "\n";
    }
    return out;
}

} // namespace pa::logger
