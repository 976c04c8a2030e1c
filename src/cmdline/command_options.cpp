#include "cmdline/command_options.h"

#include "live/mqtt_rules.h"
#include "text/leading_number.h"
#include "text/number_text.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>

namespace pa::cmdline {
namespace {

// The whole text as a number; "inf" and "nan", which from_chars takes, are no price or count.
template <typename T> bool parseNumber(const std::string& text, T& out) {
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), out);
    if constexpr (std::is_floating_point_v<T>)
        if (!std::isfinite(out))
            return false;
    return !text.empty() && ec == std::errc() && end == text.data() + text.size();
}

bool wholeNumber(const std::string& text, long low, long high, long& out) {
    return parseNumber(text, out) && out >= low && out <= high;
}

// --count N: a whole number of at least 1.
bool countOption(const std::string& text, long& count) {
    return wholeNumber(text, 1, std::numeric_limits<long>::max(), count);
}

// A plain finite number and nothing else (whatever the locale), such as 5, 0.25 or 1e3:
// these texts go into the data file's lines as they stand.
bool isNumber(const std::string& text) {
    return text::parseDecimal(text).has_value();
}

// "host", "host:1883", "[::1]:1883"; false on a bad port.
bool splitHostPort(const std::string& text, std::string& host, int& port) {
    std::string portText;
    if (text.starts_with('[')) {
        const auto close = text.find(']');
        if (close == std::string::npos)
            return false;
        host = text.substr(1, close - 1);
        if (close + 1 < text.size()) {
            if (text[close + 1] != ':')
                return false;
            portText = text.substr(close + 2);
        }
    } else if (const auto colon = text.rfind(':');
               colon != std::string::npos && text.find(':') == colon) {
        host = text.substr(0, colon);
        portText = text.substr(colon + 1);
    } else {
        host = text;
    }
    if (host.empty())
        return false;
    if (text.find(':') != std::string::npos && !text.starts_with('[') && portText.empty())
        return false;
    if (portText.empty())
        return true;
    return parseNumber(portText, port) && port >= 1 && port <= 65535;
}

// The machine's name as one topic level and client id part.
std::string plainName(const std::string& text) {
    std::string out;
    for (const char c : text)
        out += (std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_') ? c : '_';
    return out.empty() ? "host" : out;
}

// The options export and stats share: the file and a download's year. Returns the error,
// or "" with `handled` set when the option was one of these.
std::string recordingOption(const Args& args, std::size_t& i, std::string& file, int& year,
                            int thisYear, bool& handled) {
    handled = true;
    const std::string& a = args[i];
    if (a == "--year") {
        if (i + 1 >= args.size() || !parseNumber(args[++i], year) || year < 1 || year > 9999)
            return "--year takes a year such as " + std::to_string(thisYear);
        return "";
    }
    if (!a.empty() && a[0] == '-' && a != "-") {
        handled = false;
        return "";
    }
    if (!file.empty())
        return "one recording only (" + a + ")";
    file = a;
    return "";
}

} // namespace

bool takeMqttOption(const Args& args, std::size_t& i, MqttOptions& o, std::string& error) {
    const std::string& a = args[i];
    std::string* target = a == "--topic"              ? &o.topic
                          : a == "--client-id"        ? &o.clientId
                          : a == "--username"         ? &o.username
                          : a == "--password-file"    ? &o.passwordFile
                          : a == "--tls-ca"           ? &o.tlsCa
                          : a == "--discovery-prefix" ? &o.discoveryPrefix
                                                      : nullptr;
    if (a != "--mqtt" && !target)
        return false;
    if (i + 1 >= args.size() || args[i + 1].empty()) {
        error = a + " needs a value";
        return true;
    }
    const std::string& v = args[++i];
    if (target) {
        *target = v;
    } else if (!splitHostPort(v, o.host, o.port)) {
        error = "--mqtt takes HOST or HOST:PORT (a port from 1 to 65535), not " + v;
    }
    return true;
}

bool takeAlarmOption(const Args& args, std::size_t& i, AlarmOptions& o, std::string& error) {
    const std::string& a = args[i];
    if (a != "--alarms" && a != "--alarm-log")
        return false;
    if (i + 1 >= args.size() || args[i + 1].empty())
        error = a + " needs a file";
    else
        (a == "--alarms" ? o.file : o.log) = args[++i];
    return true;
}

std::string completeMqttOptions(MqttOptions& o, const std::string& hostName, long pid) {
    if (o.host.empty()) {
        if (!o.topic.empty() || !o.clientId.empty() || !o.username.empty() ||
            !o.passwordFile.empty() || !o.tlsCa.empty() || !o.discoveryPrefix.empty())
            return "the MQTT options need --mqtt HOST[:PORT]";
        return "";
    }
    if (!o.passwordFile.empty() && o.username.empty())
        return "--password-file needs --username";
    const std::string host = plainName(hostName);
    if (o.topic.empty())
        o.topic = "poweranalyzer/" + host;
    if (o.discoveryPrefix.empty())
        o.discoveryPrefix = live::kDiscoveryPrefix;
    if (const std::string bad = live::checkDiscoveryPrefix(o.discoveryPrefix); !bad.empty())
        return "--discovery-prefix: " + bad;
    if (const std::string bad = live::checkTopicPrefix(o.topic, o.discoveryPrefix); !bad.empty())
        return "--topic: " + bad;
    // A client id of the user's choice is stable from run to run; the default one is not.
    o.deviceId = o.clientId;
    if (o.clientId.empty())
        o.clientId = "poweranalyzer-" + host + "-" + std::to_string(pid);
    if (const std::string bad = live::checkClientId(o.clientId); !bad.empty())
        return "--client-id: " + bad;
    if (const std::string bad = live::checkUserName(o.username); !bad.empty())
        return "--username: " + bad;
    if (o.port == 0)
        o.port = o.tlsCa.empty() ? 1883 : 8883;
    return "";
}

std::string parseMonitor(const Args& args, MonitorOptions& o, const std::string& hostName,
                         long pid) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        std::string mqttError;
        if (takeMqttOption(args, i, o.mqtt, mqttError) ||
            takeAlarmOption(args, i, o.alarms, mqttError)) {
            if (!mqttError.empty())
                return mqttError;
            continue;
        }
        if (a == "--simulate") {
            o.simulate = true;
            continue;
        }
        if (a != "--port" && a != "--interval" && a != "--count" && a != "--baud" &&
            a != "--format")
            return "unknown option " + a;
        if (i + 1 >= args.size())
            return a + " needs a value";
        const std::string& v = args[++i];
        if (a == "--port") {
            o.port = v;
        } else if (a == "--format") {
            if (v != "tsv" && v != "csv")
                return "--format takes tsv or csv";
            o.separator = v == "csv" ? ',' : '\t';
        } else if (a == "--interval") {
            o.interval = v;
        } else if (a == "--count") {
            if (!countOption(v, o.count))
                return "--count takes a whole number of at least 1";
        } else {
            const char* rates[] = {"9600", "4800", "2400", "1200"};
            for (int r = 0; r < 4; ++r)
                if (v == rates[r])
                    o.baudIndex = r;
            if (o.baudIndex < 0)
                return "--baud takes 9600, 4800, 2400 or 1200";
        }
    }
    if (o.simulate == !o.port.empty())
        return "give either --port PATH or --simulate";
    if (o.alarms.file.empty() && !o.alarms.log.empty())
        return "--alarm-log needs --alarms FILE";
    return completeMqttOptions(o.mqtt, hostName, pid);
}

std::string parseRecord(const Args& args, RecordOptions& o) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--simulate") {
            o.simulate = true;
            continue;
        }
        if (std::string error; takeAlarmOption(args, i, o.alarms, error)) {
            if (!error.empty())
                return error;
            continue;
        }
        if (i + 1 >= args.size())
            return a.rfind("--", 0) == 0 ? a + " needs a value" : "unknown option " + a;
        const std::string& v = args[++i];
        if (a == "--port") {
            o.port = v;
        } else if (a == "--out") {
            o.out = v;
        } else if (a == "--interval") {
            if (text::parseDecimal(v).value_or(0) <= 0)
                return "--interval takes a number of seconds (0.5, or a whole number)";
            o.interval = v;
        } else if (a == "--count") {
            if (!countOption(v, o.count))
                return "--count takes a whole number of at least 1";
        } else if (a == "--period") {
            o.period = -1;
            for (int p = 0; p < 3; ++p)
                if (v == kPeriods[p])
                    o.period = p;
            if (o.period < 0)
                return "--period takes month, day or year";
        } else if (a == "--price") {
            if (!isNumber(v))
                return "--price takes a number (the price of one kWh, such as 0.25)";
            o.price = v;
        } else if (a == "--hours") {
            if (!isNumber(v))
                return "--hours takes a number of hours a day from 0 to 24";
            o.hours = v;
        } else if (a == "--rotate") {
            if (v != "daily")
                return "--rotate takes daily";
            o.daily = true;
        } else if (a == "--start") {
            if (!isNumber(v))
                return "--start takes the number of the first record";
            o.start = v;
        } else {
            return "unknown option " + a;
        }
    }
    if (o.simulate == !o.port.empty())
        return "give either --port PATH or --simulate";
    if (o.out.empty())
        return "give the file to record into with --out FILE";
    // The recording is a file opened and closed around each line; its lines are echoed on
    // standard output anyway.
    if (o.out == "-")
        return "--out - : record writes a file (its lines are echoed on standard output)";
    if (o.alarms.file.empty() && !o.alarms.log.empty())
        return "--alarm-log needs --alarms FILE";
    return "";
}

std::string parsePf(const Args& args, PfOptions& o) {
    const struct {
        const char* option;
        int panel;
    } present[] = {{"--w", live::kW},     {"--pf", live::kPF},       {"--v", live::kV},
                   {"--a", live::kA},     {"--angle", live::kAngle}, {"--va", live::kVA},
                   {"--var", live::kVAR}, {"--hz", live::kHz}};
    const char* targets[] = {"pf", "a", "va", "var", "angle", "c"};
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--target") {
            if (i + 2 >= args.size())
                return "--target needs a name (pf, a, va, var, angle, c) and a value";
            const std::string& name = args[++i];
            for (int t = 0; t < pfimprove::kTargets; ++t)
                if (name == targets[t])
                    o.target = t;
            if (o.target < 0)
                return "--target takes pf, a, va, var, angle or c, not " + name;
            o.value = args[++i];
            continue;
        }
        bool known = false;
        for (const auto& p : present) {
            if (a == p.option) {
                if (i + 1 >= args.size())
                    return a + " needs a value";
                o.readouts[p.panel] = args[++i];
                known = true;
                break;
            }
        }
        if (!known)
            return "unknown option " + a;
    }
    if (o.target < 0)
        return "give a target: --target pf|a|va|var|angle|c VALUE";
    return "";
}

std::string parsePlot(const Args& args, PlotOptions& o) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--stats") {
            o.stats = true;
        } else if (a == "--points") {
            o.points = true;
        } else if (a == "--force") {
            o.force = true;
        } else if (a == "--quantity" || a == "--png" || a == "--pdf" || a == "--size") {
            if (i + 1 >= args.size())
                return a + " needs a value";
            const std::string& v = args[++i];
            long n = 0;
            if (a == "--quantity") {
                if (!wholeNumber(v, 0, 8, n))
                    return "--quantity takes 0 to 8 (0 Watt, 1 PF, 2 Volt, 3 Ampere, 4 Phase "
                           "Angle, 5 VA, 6 VAR, 7 KWH, 8 Est. KWH)";
                o.quantity = static_cast<int>(n);
            } else if (a == "--png") {
                o.png = v;
            } else if (a == "--pdf") {
                o.pdf = v;
            } else {
                const auto x = v.find('x');
                long w = 0, h = 0;
                if (x == std::string::npos || !wholeNumber(v.substr(0, x), 200, 8000, w) ||
                    !wholeNumber(v.substr(x + 1), 150, 8000, h))
                    return "--size takes WIDTHxHEIGHT in pixels, for example 1280x720";
                o.width = static_cast<int>(w);
                o.height = static_cast<int>(h);
            }
        } else if (a == "--zoom") {
            if (i + 2 >= args.size())
                return "--zoom needs START and END record numbers";
            o.zoom = true;
            o.zoomStart = text::leadingNumber(args[++i]);
            o.zoomEnd = text::leadingNumber(args[++i]);
        } else if (!a.empty() && a[0] == '-') {
            return "unknown option " + a;
        } else if (o.file.empty()) {
            o.file = a;
        } else {
            return "one data file only (" + a + ")";
        }
    }
    if (o.file.empty())
        return "give the data file to plot";
    if (o.png.empty() && o.pdf.empty() && !o.points && !o.stats)
        return "nothing to do: give --png OUT, --pdf OUT, --points or --stats";
    return "";
}

std::string parseLogger(const Args& args, LoggerOptions& o) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--simulate") {
            o.simulate = true;
        } else if (a == "--port" || a == "--out") {
            if (i + 1 >= args.size())
                return a + " needs a value";
            (a == "--port" ? o.port : o.out) = args[++i];
        } else if (a.rfind("--", 0) == 0) {
            return "unknown option " + a;
        } else {
            o.words.push_back(a);
        }
    }
    if (o.simulate == !o.port.empty())
        return "give either --port PATH or --simulate";
    if (o.words.empty())
        return "logger needs a subcommand: status, download, read, write, set, mode, selftest";
    return "";
}

std::string parseExport(const Args& args, ExportArgs& o, int thisYear) {
    o.options.downloadYear = thisYear;
    for (std::size_t i = 0; i < args.size(); ++i) {
        bool handled = false;
        if (std::string e =
                recordingOption(args, i, o.file, o.options.downloadYear, thisYear, handled);
            !e.empty())
            return e;
        if (handled)
            continue;
        const std::string& a = args[i];
        if (a != "--out" && a != "--sep" && a != "--format")
            return "unknown option " + a + " (see export --help)";
        if (i + 1 >= args.size())
            return a + " needs a value";
        const std::string& v = args[++i];
        if (a == "--out")
            o.out = v;
        else if (a == "--format" && (v == "csv" || v == "xlsx"))
            o.xlsx = v == "xlsx";
        else if (a == "--format")
            return "--format takes csv or xlsx";
        else if (v == "," || v == ";")
            o.options.separator = v[0];
        else
            return "--sep takes , or ;";
    }
    if (o.file.empty())
        return "give the recording to export (see export --help)";
    if (o.xlsx && o.out.empty())
        return "--format xlsx needs --out FILE.xlsx (a workbook is no text for a terminal)";
    return "";
}

std::string parseStats(const Args& args, StatsArgs& o, int thisYear) {
    o.year = thisYear;
    for (std::size_t i = 0; i < args.size(); ++i) {
        bool handled = false;
        if (std::string e = recordingOption(args, i, o.file, o.year, thisYear, handled); !e.empty())
            return e;
        if (handled)
            continue;
        const std::string& a = args[i];
        if (a != "--per" && a != "--format" && a != "--price")
            return "unknown option " + a + " (see stats --help)";
        if (i + 1 >= args.size())
            return a + " needs a value";
        const std::string& v = args[++i];
        if (a == "--per") {
            if (v != "day" && v != "hour")
                return "--per takes day or hour";
            o.per = v == "day" ? datafile::StatsPer::Day : datafile::StatsPer::Hour;
        } else if (a == "--format") {
            if (v != "text" && v != "csv" && v != "json")
                return "--format takes text, csv or json";
            o.format = v;
        } else {
            double p = 0;
            if (!parseNumber(v, p) || p < 0)
                return "--price takes a price per kWh such as 0.25";
            o.price = p;
        }
    }
    if (o.file.empty())
        return "give the recording (see stats --help)";
    return "";
}

std::string parseReport(const Args& args, ReportArgs& o, int thisYear) {
    o.options.downloadYear = thisYear;
    // The numeric options: name, target, smallest and largest value, what it takes.
    struct Limit {
        const char* name;
        double* value;
        double low, high;
        const char* takes;
    };
    double price = 0;
    const Limit limits[] = {
        {"--price", &price, 0, 1e6, "a price per kWh such as 0.25"},
        {"--nominal", &o.options.nominalV, 1, 1000, "the nominal voltage such as 230"},
        {"--hz", &o.options.hz, 1, 1000, "the mains frequency, 50 or 60"},
        {"--target-pf", &o.options.targetPf, 0.5, 1, "a power factor from 0.5 to 1 such as 0.95"},
    };
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--year") {
            if (i + 1 >= args.size() || !parseNumber(args[++i], o.options.downloadYear) ||
                o.options.downloadYear < 1 || o.options.downloadYear > 9999)
                return "--year takes a year such as " + std::to_string(thisYear);
            continue;
        }
        if (a.empty() || a[0] != '-' || a == "-") {
            o.files.push_back(a);
            continue;
        }
        const Limit* limit = nullptr;
        for (const Limit& l : limits)
            if (a == l.name)
                limit = &l;
        if (!limit && a != "--pdf" && a != "--format" && a != "--lang")
            return "unknown option " + a + " (see report --help)";
        if (i + 1 >= args.size())
            return a + " needs a value";
        const std::string& v = args[++i];
        if (limit) {
            double x = 0;
            if (!parseNumber(v, x) || x < limit->low || x > limit->high)
                return a + " takes " + limit->takes;
            *limit->value = x;
            if (limit->value == &price)
                o.options.price = x;
        } else if (a == "--pdf") {
            o.pdf = v;
        } else if (a == "--format") {
            if (v != "text" && v != "json")
                return "--format takes text or json";
            o.format = v;
        } else {
            if (v != "en" && v != "zh")
                return "--lang takes en or zh";
            o.lang = v;
        }
    }
    if (o.files.empty())
        return "give the recording, or its daily files (see report --help)";
    return "";
}

} // namespace pa::cmdline
