// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "text/json_text.h"

#include "text/number_text.h"

#include <cmath>

namespace pa::text {
namespace {

std::string scalar(const Json& json) {
    return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void append(std::string& out, const Json& json, int depth, int expandedDepth) {
    if (!json.is_structured() || json.empty()) {
        out += scalar(json);
        return;
    }
    const bool expanded = depth < expandedDepth;
    const std::string indent(2 * static_cast<std::size_t>(depth), ' ');
    const std::string separator = expanded ? ",\n" + indent + "  " : ", ";
    out += json.is_object() ? '{' : '[';
    if (expanded)
        out += "\n" + indent + "  ";
    bool first = true;
    for (auto it = json.begin(); it != json.end(); ++it) {
        if (!first)
            out += separator;
        first = false;
        if (json.is_object())
            out += scalar(it.key()) + ": ";
        append(out, it.value(), depth + 1, expandedDepth);
    }
    if (expanded)
        out += "\n" + indent;
    out += json.is_object() ? '}' : ']';
}

} // namespace

Json jsonNumber(std::optional<double> value, int significant) {
    if (!value || !std::isfinite(*value))
        return nullptr;
    // Through the text of `significant` digits and back: the library then writes those digits.
    const double rounded = parseDecimal(shortestGeneral(*value, significant)).value_or(*value);
    if (rounded == std::trunc(rounded) && std::fabs(rounded) < 9e15)
        return static_cast<std::int64_t>(rounded);
    return rounded;
}

std::string compactJson(const Json& json) {
    return scalar(json);
}

std::string layoutJson(const Json& json, int expandedDepth) {
    std::string out;
    append(out, json, 0, expandedDepth);
    return out + "\n";
}

} // namespace pa::text
