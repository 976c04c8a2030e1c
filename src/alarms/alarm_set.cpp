// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "alarms/alarm_set.h"

#include "datafile/data_folder.h"
#include "text/number_text.h"

#include <array>
#include <charconv>
#include <fstream>
#include <optional>

namespace pa::alarms {
namespace {

struct QuantityRow {
    std::string_view name, unit;
};
// In Quantity order.
constexpr std::array<QuantityRow, kQuantities> kQuantityRows = {{
    {"W", "W"},
    {"PF", ""},
    {"V", "V"},
    {"A", "A"},
    {"VA", "VA"},
    {"VAR", "var"},
    {"angle", "deg"},
    {"Hz", "Hz"},
    {"kWh", "kWh"},
    {"cost_per_day", "$"},
    {"reading", "s"},
}};

struct ActionRow {
    std::string_view name;
    Action action;
};
constexpr ActionRow kActionRows[] = {
    {"banner", kBanner},
    {"beep", kBeep},
    {"mark", kMark},
    {"log", kLog},
    {"record_start", kRecordStart},
    {"record_stop", kRecordStop},
    {"run", kRun},
    {"mqtt", kMqtt},
};

struct ConditionRow {
    std::string_view key;
    Condition condition;
};
constexpr ConditionRow kConditionRows[] = {
    {"above", Condition::Above},       {"below", Condition::Below},
    {"outside", Condition::Outside},   {"inside", Condition::Inside},
    {"overload", Condition::Overload}, {"silent_for", Condition::SilentFor},
};

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
        s.remove_suffix(1);
    return s;
}

// Everything from a '#' at the start or after a blank is a comment.
std::string_view withoutComment(std::string_view line) {
    for (std::size_t i = 0; i < line.size(); ++i)
        if (line[i] == '#' && (i == 0 || line[i - 1] == ' ' || line[i - 1] == '\t'))
            return line.substr(0, i);
    return line;
}

std::string numberText(double value) {
    std::array<char, 64> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
    return std::string(buffer.data(), end);
}

class Parser {
  public:
    Parser(std::string_view fileName) : file_(fileName) {}

    ParseResult run(std::string_view text) {
        if (text.size() > kMaxFileBytes)
            return fail(0, "the file is larger than " + std::to_string(kMaxFileBytes / 1024) +
                               " KB; an alarm file is a short text");
        if (text.starts_with("\xEF\xBB\xBF"))
            text.remove_prefix(3);
        int lineNumber = 0;
        while (!text.empty() && error_.empty()) {
            const std::size_t end = text.find('\n');
            std::string_view line = text.substr(0, end);
            text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
            ++lineNumber;
            if (line.ends_with('\r'))
                line.remove_suffix(1);
            parseLine(trim(withoutComment(line)), lineNumber);
        }
        if (error_.empty() && open_)
            finishSection();
        if (!error_.empty())
            return {{}, error_};
        return {std::move(set_), ""};
    }

  private:
    ParseResult fail(int line, const std::string& cause) {
        return {{}, std::string(file_) + ":" + std::to_string(line) + ": " + cause};
    }
    void error(int line, const std::string& cause) {
        if (error_.empty())
            error_ = fail(line, cause).error;
    }

    void parseLine(std::string_view line, int n) {
        for (const char c : line)
            if (static_cast<unsigned char>(c) < 0x20 && c != '\t')
                return error(n, "the line holds a control character");
        if (line.empty())
            return;
        if (line.front() == '[') {
            if (line.back() != ']')
                return error(n, "a section name must end with ]");
            if (open_)
                finishSection();
            if (!error_.empty())
                return;
            const std::string_view name = trim(line.substr(1, line.size() - 2));
            if (name.empty())
                return error(n, "the alarm has no name between [ and ]");
            if (name.size() > kMaxNameLength)
                return error(n, "the alarm's name is longer than " +
                                    std::to_string(kMaxNameLength) + " characters");
            for (const Alarm& a : set_.alarms)
                if (a.name == name)
                    return error(n, "a second alarm named \"" + std::string(name) +
                                        "\" (the first "
                                        "is on line " +
                                        std::to_string(a.line) + ")");
            if (set_.alarms.size() >= kMaxAlarms)
                return error(n, "more than " + std::to_string(kMaxAlarms) + " alarms");
            alarm_ = Alarm{};
            alarm_.name = std::string(name);
            alarm_.line = n;
            seen_.clear();
            hasCondition_ = actionsGiven_ = false;
            open_ = true;
            return;
        }
        const std::size_t eq = line.find('=');
        if (eq == std::string_view::npos)
            return error(n,
                         "expected key = value or [alarm name], not \"" + std::string(line) + "\"");
        const std::string key(trim(line.substr(0, eq)));
        const std::string_view value = trim(line.substr(eq + 1));
        if (!open_)
            return error(n, "\"" + key + "\" comes before the first [alarm name]");
        for (const std::string& k : seen_)
            if (k == key)
                return error(n, "\"" + key + "\" is given twice in [" + alarm_.name + "]");
        seen_.push_back(key);
        if (value.empty())
            return error(n, "\"" + key + "\" has no value");
        // "key =#x" could not be written back: "key = #x" is a key with a comment.
        if (value.front() == '#')
            return error(n, "a value cannot begin with # (put it in double quotes)");
        keyValue(key, value, n);
    }

    std::optional<double> number(std::string_view text, const std::string& key, int n) {
        const auto v = text::parseDecimal(text);
        if (!v)
            error(n, key + " takes a number such as 12.5, not \"" + std::string(text) + "\"");
        return v;
    }

    void keyValue(const std::string& key, std::string_view value, int n) {
        if (key == "quantity") {
            for (int q = 0; q < kQuantities; ++q)
                if (kQuantityRows[q].name == value) {
                    alarm_.quantity = static_cast<Quantity>(q);
                    quantityLine_ = n;
                    return;
                }
            return error(n, "unknown quantity \"" + std::string(value) +
                                "\" (W, PF, V, A, VA, VAR, angle, Hz, kWh, cost_per_day or "
                                "reading)");
        }
        for (const ConditionRow& c : kConditionRows) {
            if (key != c.key)
                continue;
            if (hasCondition_)
                return error(n, "[" + alarm_.name + "] has more than one condition");
            hasCondition_ = true;
            alarm_.condition = c.condition;
            return conditionValue(c.condition, key, value, n);
        }
        if (key == "for" || key == "hysteresis") {
            const auto v = number(value, key, n);
            if (!v)
                return;
            if (*v < 0)
                return error(n, key + " cannot be negative");
            (key == "for" ? alarm_.forSeconds : alarm_.hysteresis) = *v;
            return;
        }
        if (key == "actions") {
            actionsGiven_ = true;
            alarm_.actions = 0;
            while (!value.empty()) {
                const std::size_t comma = value.find(',');
                const std::string_view word = trim(value.substr(0, comma));
                value.remove_prefix(comma == std::string_view::npos ? value.size() : comma + 1);
                bool known = false;
                for (const ActionRow& a : kActionRows)
                    if (word == a.name) {
                        alarm_.actions |= a.action;
                        known = true;
                    }
                if (!known)
                    return error(n, "unknown action \"" + std::string(word) +
                                        "\" (banner, beep, mark, log, record_start, "
                                        "record_stop, run or mqtt)");
            }
            return;
        }
        if (key == "run") {
            alarm_.run = std::string(value);
            return;
        }
        error(n, "unknown key \"" + key + "\"");
    }

    void conditionValue(Condition c, const std::string& key, std::string_view value, int n) {
        if (c == Condition::Overload) {
            if (value != "yes")
                error(n, "overload takes yes");
            return;
        }
        if (c == Condition::Outside || c == Condition::Inside) {
            const std::size_t dots = value.find("..");
            if (dots == std::string_view::npos)
                return error(n, key + " takes LOW..HIGH, such as 210..250");
            const auto low = number(trim(value.substr(0, dots)), key, n);
            const auto high = low ? number(trim(value.substr(dots + 2)), key, n) : std::nullopt;
            if (!low || !high)
                return;
            if (*low >= *high)
                return error(n, key + ": LOW must be less than HIGH");
            alarm_.low = *low;
            alarm_.high = *high;
            return;
        }
        const auto v = number(value, key, n);
        if (!v)
            return;
        if (c == Condition::SilentFor && *v <= 0)
            return error(n, "silent_for takes a number of seconds greater than 0");
        alarm_.low = alarm_.high = *v;
    }

    void finishSection() {
        const int n = alarm_.line;
        const std::string section = "[" + alarm_.name + "]";
        if (quantityLine_ == 0)
            return error(n, section + " has no quantity");
        if (!hasCondition_)
            return error(n, section + " has no condition (above, below, outside, inside, "
                                      "overload or silent_for)");
        const bool reading = alarm_.quantity == Quantity::Reading;
        if (reading != (alarm_.condition == Condition::SilentFor))
            return error(n, section + ": silent_for goes with quantity = reading, and only it");
        if (alarm_.condition == Condition::Overload &&
            (alarm_.quantity == Quantity::KWh || alarm_.quantity == Quantity::CostPerDay))
            return error(n, section + ": " + std::string(quantityName(alarm_.quantity)) +
                                " is never an overload text");
        if (alarm_.condition == Condition::Outside &&
            2 * alarm_.hysteresis >= alarm_.high - alarm_.low)
            return error(n, section + ": the hysteresis must be less than half of the band, "
                                      "or the alarm could never clear");
        if (!actionsGiven_ && !alarm_.run.empty())
            alarm_.actions |= kRun;
        if ((alarm_.actions & kRun) && alarm_.run.empty())
            return error(n, section + ": the run action needs run = PROGRAM ARGUMENTS");
        if (!(alarm_.actions & kRun) && !alarm_.run.empty())
            return error(n, section + ": run = is given but actions has no run");
        set_.alarms.push_back(std::move(alarm_));
        open_ = false;
        quantityLine_ = 0;
    }

    std::string_view file_;
    AlarmSet set_;
    Alarm alarm_;
    std::vector<std::string> seen_;
    std::string error_;
    bool open_ = false, hasCondition_ = false, actionsGiven_ = false;
    int quantityLine_ = 0;
};

} // namespace

std::string_view quantityName(Quantity q) {
    return kQuantityRows[static_cast<int>(q)].name;
}

std::string_view quantityUnit(Quantity q) {
    return kQuantityRows[static_cast<int>(q)].unit;
}

ParseResult parseAlarms(std::string_view text, std::string_view fileName) {
    return Parser(fileName).run(text);
}

ParseResult readAlarmFile(const std::string& path) {
    std::ifstream in(datafile::pathFromUtf8(path), std::ios::binary);
    if (!in)
        return {{}, path + ": cannot open the alarm file"};
    // One byte past the bound tells a file that is too large from one that just fits.
    std::string text(kMaxFileBytes + 1, '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (in.bad())
        return {{}, path + ": cannot read the alarm file"};
    text.resize(static_cast<std::size_t>(in.gcount()));
    return parseAlarms(text, path);
}

std::string formatAlarms(const AlarmSet& set) {
    std::string out;
    for (const Alarm& a : set.alarms) {
        if (!out.empty())
            out += '\n';
        out += "[" + a.name + "]\nquantity = " + std::string(quantityName(a.quantity)) + "\n";
        for (const ConditionRow& c : kConditionRows) {
            if (c.condition != a.condition)
                continue;
            out += std::string(c.key) + " = ";
            switch (a.condition) {
            case Condition::Overload:
                out += "yes";
                break;
            case Condition::Outside:
            case Condition::Inside:
                out += numberText(a.low) + ".." + numberText(a.high);
                break;
            case Condition::Below:
                out += numberText(a.high);
                break;
            default:
                out += numberText(a.low);
            }
            out += '\n';
        }
        if (a.forSeconds > 0)
            out += "for = " + numberText(a.forSeconds) + "\n";
        if (a.hysteresis > 0)
            out += "hysteresis = " + numberText(a.hysteresis) + "\n";
        std::string actions;
        for (const ActionRow& r : kActionRows)
            if (a.actions & r.action)
                actions += (actions.empty() ? "" : ", ") + std::string(r.name);
        out += "actions = " + (actions.empty() ? std::string("log") : actions) + "\n";
        if (!a.run.empty())
            out += "run = " + a.run + "\n";
    }
    return out;
}

} // namespace pa::alarms
