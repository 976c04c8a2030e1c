// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "alarms/alarm_actions.h"

#include "datafile/data_folder.h"
#include "text/number_text.h"

#include <cerrno>
#include <filesystem>

#ifdef _WIN32
#include <cstdio>
#include <cwchar>
#endif

namespace pa::alarms {
namespace {

// A CSV field, quoted when it holds a comma, a quote or a line break.
std::string field(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos)
        return std::string(text);
    std::string out = "\"";
    for (const char c : text)
        out += c == '"' ? std::string("\"\"") : std::string(1, c);
    return out + "\"";
}

std::FILE* openForAppend(const std::string& path) {
#ifdef _WIN32
    return _wfopen(datafile::pathFromUtf8(path).c_str(), L"ab");
#else
    return std::fopen(path.c_str(), "ab");
#endif
}

} // namespace

AlarmLog::~AlarmLog() {
    close();
}

void AlarmLog::close() {
    if (file_)
        std::fclose(file_);
    file_ = nullptr;
}

std::string AlarmLog::open(const std::string& path) {
    close();
    path_ = path;
    // A pipe would hold the live cycle in open() until a reader came; a folder or socket
    // takes no lines. Devices do (/dev/null).
    std::error_code ec;
    const auto kind = std::filesystem::status(datafile::pathFromUtf8(path), ec).type();
    if (kind != std::filesystem::file_type::not_found &&
        kind != std::filesystem::file_type::regular &&
        kind != std::filesystem::file_type::character)
        return "cannot write the alarm log " + path + ": it is not a regular file";
    file_ = openForAppend(path);
    if (!file_)
        return "cannot write the alarm log " + path + ": " + datafile::systemReason(errno);
    std::fseek(file_, 0, SEEK_END);
    if (std::ftell(file_) == 0) {
        static constexpr char kHeader[] = "time,alarm,event,value,unit\n";
        if (std::fputs(kHeader, file_) < 0 || std::fflush(file_) != 0) {
            close();
            return "cannot write the alarm log " + path;
        }
    }
    return "";
}

bool AlarmLog::write(std::string_view time, std::string_view alarm, std::string_view event,
                     std::string_view value, std::string_view unit) {
    if (!file_)
        return false;
    const std::string line = field(time) + "," + field(alarm) + "," + field(event) + "," +
                             field(value) + "," + field(unit) + "\n";
    if (std::fwrite(line.data(), 1, line.size(), file_) != line.size() || std::fflush(file_) != 0) {
        close();
        return false;
    }
    return true;
}

std::string logPathBeside(const std::string& file) {
    std::filesystem::path p = datafile::pathFromUtf8(file);
    const std::string stem = datafile::utf8FromPath(p.stem());
    return datafile::utf8FromPath(p.parent_path() / datafile::pathFromUtf8(stem + "-alarms.csv"));
}

std::string valueText(double value) {
    return text::shortestGeneral(value, 10);
}

std::vector<std::string> runArguments(std::string_view command, std::string_view name,
                                      std::string_view value, std::string_view unit,
                                      std::string_view time) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false, quoted = false;
    for (const char c : command) {
        if (c == '"') {
            quoted = !quoted;
            inWord = true;
        } else if (!quoted && (c == ' ' || c == '\t')) {
            if (inWord)
                words.push_back(std::move(word));
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (inWord)
        words.push_back(std::move(word));
    for (std::string& w : words) {
        std::string out;
        for (std::size_t i = 0; i < w.size(); ++i) {
            if (w[i] != '%' || i + 1 == w.size()) {
                out += w[i];
                continue;
            }
            switch (w[++i]) {
            case 'n':
                out += name;
                break;
            case 'v':
                out += value;
                break;
            case 'u':
                out += unit;
                break;
            case 't':
                out += time;
                break;
            case '%':
                out += '%';
                break;
            default:
                out += '%';
                out += w[i];
            }
        }
        w = std::move(out);
    }
    return words;
}

void AlarmActions::carryOut(const std::vector<Event>& events, std::string_view time) {
    for (const Event& e : events) {
        const Alarm& a = set_.alarms[e.alarm];
        const bool raised = e.kind == EventKind::Raised;
        const std::string value = valueText(e.value);
        const std::string_view unit = quantityUnit(a.quantity);
        if (e.kind != EventKind::Acknowledged)
            sink_.announce("alarm " + std::string(eventName(e.kind)) + ": " + a.name + " " + value +
                           (unit.empty() ? "" : " ") + std::string(unit) + " " + std::string(time));
        if (a.actions & kBanner)
            sink_.bannerChanged();
        if ((a.actions & kLog) && log_.isOpen() &&
            !log_.write(time, a.name, eventName(e.kind), value, unit))
            sink_.logFailed("cannot write the alarm log " + log_.path() +
                            "; alarms are no longer logged");
        if (e.kind == EventKind::Acknowledged)
            continue;
        if (a.actions & kMark)
            sink_.mark(a, e);
        if (a.actions & kMqtt)
            sink_.mqtt(e.alarm, a, e, time);
        if (!raised)
            continue;
        if (a.actions & kBeep)
            sink_.beep();
        if (a.actions & kRecordStart)
            sink_.recordStart();
        if (a.actions & kRecordStop)
            sink_.recordStop();
        if (a.actions & kRun)
            sink_.run(a, runArguments(a.run, a.name, value, unit, time));
    }
}

} // namespace pa::alarms
