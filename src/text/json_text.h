// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// JSON output through nlohmann-json: keys in the order they are set, strings escaped by the
// library, and a byte that is not UTF-8 (a Latin-1 file name) written as U+FFFD, so that every
// output is valid UTF-8 JSON.
#include <nlohmann/json.hpp>

#include <optional>
#include <string>

namespace pa::text {

using Json = nlohmann::ordered_json;

// A number with at most `significant` significant digits, null when missing or not finite. A
// whole number is written without ".0" (230, not 230.0), any other in its shortest form.
Json jsonNumber(std::optional<double> value, int significant = 17);

// On one line without spaces, as a message payload.
std::string compactJson(const Json& json);

// For a file or a terminal, ending in a line end: objects and arrays down to `expandedDepth`
// levels have one member per line (two spaces of indent a level); deeper ones stay on one line
// with ", " and ": " between members.
std::string layoutJson(const Json& json, int expandedDepth);

} // namespace pa::text
