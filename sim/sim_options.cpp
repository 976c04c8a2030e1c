// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "sim_options.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace pa::sim {

namespace {

// Read with from_chars: the simulator runs inside the programs too, where the C library's
// locale may want a decimal comma.
std::optional<double> numberOf(const std::string& text) {
    std::string_view digits = text;
    if (!digits.empty() && digits[0] == '+')
        digits.remove_prefix(1);
    double value = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size() ||
        !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<unsigned> seedOf(const std::string& text) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    errno = 0;
    const unsigned long long value = std::strtoull(text.c_str(), nullptr, 10);
    if (errno == ERANGE || value > 0xFFFFFFFFull)
        return std::nullopt;
    return static_cast<unsigned>(value);
}

constexpr unsigned kMaxTimingFaultMs = 60000;

template <typename T> struct Word {
    const char* text;
    T value;
};
constexpr Word<Display> kDisplays[] = {{"normal", Display::Normal},
                                       {"hold", Display::Hold},
                                       {"overload", Display::Overload},
                                       {"startup", Display::StartUp}};
constexpr Word<Fault> kFaults[] = {{"none", Fault::None},
                                   {"silent", Fault::Silent},
                                   {"garbage", Fault::Garbage},
                                   {"truncated", Fault::Truncated}};

constexpr Word<LoggerFault> kLoggerFaults[] = {{"none", LoggerFault::None},
                                               {"noreply", LoggerFault::NoReply},
                                               {"badframing", LoggerFault::BadFraming},
                                               {"short", LoggerFault::ShortStream},
                                               {"noetx", LoggerFault::NoEtx}};

template <typename T, std::size_t N>
std::optional<T> wordOf(const std::string& text, const Word<T> (&words)[N]) {
    for (const Word<T>& w : words) {
        if (text == w.text)
            return w.value;
    }
    return std::nullopt;
}

// A number option: its name, where it goes and the values it allows.
struct NumberOption {
    const char* name;
    double Load::*field;
    double min, max;
    const char* allowed;
};
constexpr NumberOption kNumberOptions[] = {
    {"--volts", &Load::volts, -1e6, 1e6, "a number"},
    {"--amps", &Load::amps, -1e6, 1e6, "a number"},
    {"--pf", &Load::powerFactor, -1, 1, "a number from -1 to 1"},
    {"--hz", &Load::hertz, 0, 1e7, "a number of 0 or more"},
    {"--noise", &Load::noise, 0, 1, "a number from 0 to 1"},
    {"--swing", &Load::swing, 0, 1, "a number from 0 to 1"},
    {"--swing-period", &Load::swingPeriod, 1, 1e6, "a number of seconds from 1"},
};

} // namespace

ParsedOptions parseSimOptions(const std::vector<std::string>& args) {
    ParsedOptions parsed;
    SimOptions& o = parsed.options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string name = args[i];
        std::optional<std::string> value;
        if (const auto eq = name.find('='); name.rfind("--", 0) == 0 && eq != std::string::npos) {
            value = name.substr(eq + 1);
            name.resize(eq);
        }
        if (name == "--help" || name == "-h") {
            o.help = true;
            continue;
        }
        auto takeValue = [&]() -> std::optional<std::string> {
            if (value)
                return value;
            if (i + 1 < args.size())
                return args[++i];
            return std::nullopt;
        };
        auto bad = [&](const std::string& why) {
            parsed.error = name + " " + why;
            return parsed;
        };

        bool known = false;
        for (const NumberOption& n : kNumberOptions) {
            if (name != n.name)
                continue;
            known = true;
            const auto text = takeValue();
            if (!text)
                return bad(std::string("needs ") + n.allowed);
            const auto number = numberOf(*text);
            if (!number || *number < n.min || *number > n.max)
                return bad(std::string("takes ") + n.allowed + ", not \"" + *text + "\"");
            o.load.*n.field = *number;
        }
        if (known)
            continue;

        if (name == "--seed") {
            const auto text = takeValue();
            const auto seed = text ? seedOf(*text) : std::nullopt;
            if (!seed)
                return bad("takes a whole number from 0 to 4294967295");
            o.seed = *seed;
        } else if (name == "--display") {
            const auto text = takeValue();
            const auto display = text ? wordOf(*text, kDisplays) : std::nullopt;
            if (!display)
                return bad("takes normal, hold, overload or startup");
            o.display = *display;
        } else if (name == "--fault") {
            const auto text = takeValue();
            const auto fault = text ? wordOf(*text, kFaults) : std::nullopt;
            if (!fault)
                return bad("takes none, silent, garbage or truncated");
            o.fault = *fault;
        } else if (name == "--logger-fault") {
            const auto text = takeValue();
            const auto fault = text ? wordOf(*text, kLoggerFaults) : std::nullopt;
            if (!fault)
                return bad("takes none, noreply, badframing, short or noetx");
            o.loggerFault = *fault;
        } else if (name == "--records") {
            const auto text = takeValue();
            const auto count = text ? seedOf(*text) : std::nullopt;
            if (!count || *count > static_cast<unsigned>(kLoggerCapacity))
                return bad("takes a whole number from 0 to " + std::to_string(kLoggerCapacity));
            o.records = static_cast<int>(*count);
        } else if (name == "--delay" || name == "--split") {
            const auto text = takeValue();
            const auto ms = text ? seedOf(*text) : std::nullopt;
            if (!ms || *ms > kMaxTimingFaultMs)
                return bad("takes milliseconds from 0 to " + std::to_string(kMaxTimingFaultMs));
            (name == "--delay" ? o.delayMs : o.splitGapMs) = static_cast<int>(*ms);
        } else if (name == "--pace") {
            o.pace = true;
        } else {
            parsed.error = "unknown option " + args[i];
            return parsed;
        }
    }
    return parsed;
}

std::string simUsage() {
    return "Usage: poweranalyzer-sim [options]\n"
           "A simulated power analyzer on a pseudo-terminal. Prints the device to open\n"
           "(for example /dev/pts/5) and answers on it until interrupted.\n"
           "\n"
           "  --volts V      voltage (default 230)\n"
           "  --amps A       current (default 0.55)\n"
           "  --pf PF        power factor, -1 to 1 (default 0.92); power is V x A x PF\n"
           "  --hz HZ        line frequency (default 50)\n"
           "  --noise X      relative noise of each reading (default 0.002)\n"
           "  --swing X      vary the current as a sine wave of relative amplitude X\n"
           "                 (default 0: a steady load)\n"
           "  --swing-period S  the swing's period in seconds (default 60)\n"
           "  --seed N       seed of the noise and of garbage replies (default 1)\n"
           "  --display D    normal, hold, overload or startup (default normal)\n"
           "  --fault F      none, silent, garbage or truncated (default none)\n"
           "  --records N    logged records in the datalogger (default 10, at most 1012)\n"
           "  --logger-fault F  none, noreply, badframing, short or noetx (default none)\n"
           "  --pace         hand answers over at the line's speed (a full download\n"
           "                 then takes its 8.5 s of wire time at 9600 baud)\n"
           "  --delay MS     hold every answer back MS milliseconds (a slow instrument)\n"
           "  --split MS     hand every answer over in two halves, MS milliseconds apart\n"
           "  --help         this text\n"
           "  --version      the version\n";
}

} // namespace pa::sim
