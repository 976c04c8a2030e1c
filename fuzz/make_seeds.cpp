// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Writes the seed corpora of the fuzz targets from what the instrument and the program
// really produce: live frames from the simulated instrument in each display state, its
// frequency answer, the logger's status block, download streams and console lines, the
// entries a user types, and a data file as the recorder writes it.
//
//   make_seeds FOLDER     writes FOLDER/<target>/<seed> for every target
#include "datafile/data_file.h"
#include "instrument.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

void write(const fs::path& folder, const std::string& name, const std::string& bytes) {
    fs::create_directories(folder);
    std::ofstream(folder / name, std::ios::binary) << bytes;
}

// The live tick target reads chunks: a length byte, then that many received bytes.
std::string chunks(const std::vector<std::string>& parts) {
    std::string out;
    for (const std::string& p : parts)
        out.append(1, static_cast<char>(p.size())).append(p);
    return out;
}

void liveSeeds(const fs::path& folder) {
    using pa::sim::Display;
    pa::sim::Instrument meter;
    const std::string frame = meter.liveFrame();
    write(folder, "frames", chunks({frame, frame, frame, frame}));
    write(folder, "split", chunks({frame.substr(0, 9), frame.substr(9), frame}));
    write(folder, "two_in_one", chunks({frame + frame}));
    write(folder, "silence", chunks({frame, "", "", "", "", "", "", "", "", "", "", "", frame}));
    write(folder, "frequency", chunks({meter.frequencyReply(), frame}));
    for (const auto& [name, display] : {std::pair{"hold", Display::Hold},
                                        {"overload", Display::Overload},
                                        {"startup", Display::StartUp}}) {
        meter.setDisplay(display);
        write(folder, name, chunks({meter.liveFrame(), meter.liveFrame()}));
    }
    meter.setDisplay(Display::Normal);
    meter.setLoad({230, 0.55, -0.5, 50, 0}); // power flowing back
    write(folder, "negative", chunks({meter.liveFrame(), meter.liveFrame()}));
}

void loggerSeeds(const fs::path& folder) {
    pa::sim::Instrument meter;
    auto& logger = meter.logger();
    std::string status;
    for (int address = 0; address < pa::sim::kStatusBlockBytes; ++address)
        status.push_back(static_cast<char>(logger.at(address)));
    write(folder, "status_empty", status);
    write(folder, "download_empty", meter.receive("U"));
    logger.fillRecords(12, pa::sim::Load{});
    write(folder, "download_12", meter.receive("U"));
    logger.fillRecords(3, pa::sim::Load{230, 100, 1, 50, 0}); // overloaded current
    write(folder, "download_overload", meter.receive("U"));
    for (const char* line : {"R 5", "W 60 25", "X", "R &H1F", "W 300 255", "R -1", "D 0 95"})
        write(folder, std::string("console_") + line[0] + std::to_string(std::strlen(line)), line);
}

void entrySeeds(const fs::path& folder) {
    const char* entries[] = {"0.5",   "0,4",   "20000", "13106.8", "5",    "12.5",  ".95",
                             "4.7u",  "10m",   "1e3",   "&H1F",    "&O17", "-3",    "test.csv",
                             "a.b.c", "../up", "C:\\x", "",        "  ",   "1.#INF"};
    int i = 0;
    for (const char* e : entries)
        write(folder, "entry_" + std::to_string(i++), e);
}

// Command lines as users type them, one argument after another, each ended by a NUL.
void commandLineSeeds(const fs::path& folder) {
    const std::vector<std::vector<std::string>> lines = {
        {"--port", "/dev/ttyUSB0", "--interval", "0.4", "--count", "10", "--format", "csv"},
        {"--simulate", "--mqtt", "[::1]:1883", "--topic", "lab/pa", "--username", "u",
         "--password-file", "pw", "--tls-ca", "ca.pem", "--baud", "4800"},
        {"--simulate", "--out", "run.txt", "--period", "day", "--price", "0.25", "--hours", "8",
         "--start", "100", "--rotate", "daily"},
        {"--w", "116.4W", "--pf", ".92", "--v", "230V", "--a", "0.6A", "--hz", "50Hz", "--target",
         "c", "4.7u"},
        {"run.txt", "--quantity", "3", "--png", "out.png", "--size", "1280x720", "--zoom", "1",
         "3600", "--stats", "--points", "--force"},
        {"download", "--out", "logger.txt", "--port", "COM3"},
        {"set", "clock", "11-23 09:05:07", "--simulate"},
        {"run.txt", "--out", "-", "--sep", ";", "--year", "2025"},
        {"run.txt", "--per", "hour", "--format", "json", "--price", "0.3"},
    };
    int i = 0;
    for (const auto& line : lines) {
        std::string bytes;
        for (const std::string& arg : line)
            bytes += arg + '\0';
        write(folder, "line_" + std::to_string(i++), bytes);
    }
}

void plotSeeds(const fs::path& folder) {
    pa::datafile::RecordTexts t{"11-23-2026", "09:05:07.4", "116.4",  ".920",  "230",
                                ".550",       "23.1",       "126.50", "49.53", "0.0012",
                                "0.00",       "month",      "8",      "$0.00"};
    std::string file = pa::datafile::headerLine("month") + "\r\n";
    for (int r = 0; r < 20; ++r) {
        t.clock = "09:05:" + std::to_string(10 + r) + ".0";
        file += pa::datafile::recordLine(r, t) + "\r\n";
    }
    file += pa::datafile::lostCommunicationLine(t.date, "09:05:31.0") + "\r\n";
    t.watts = "OL";
    file += pa::datafile::recordLine(20, t) + "\r\n";
    write(folder, "recorded", file);
    write(folder, "header_only", pa::datafile::headerLine("day") + "\r\n");
    // Files of megabytes: a 4 MB line without a line end, 1 MB of records.
    write(folder, "long_line", "\xFF\x03" + std::string(200, 'x'));
    write(folder, "megabyte", "\xFF\x00" + pa::datafile::recordLine(0, t) + "\r\n");
    write(folder, "unix_line_ends",
          pa::datafile::headerLine("year") + "\n" + pa::datafile::recordLine(0, t) + "\n");
}

} // namespace

// The logger's side of whole exchanges: a length byte, then the bytes of each read.
void exchangeSeeds(const fs::path& folder) {
    pa::sim::Instrument meter;
    auto& logger = meter.logger();
    logger.fillRecords(5, pa::sim::Load{});
    auto pieces = [](const std::vector<std::string>& replies) {
        std::string out(1, '\x09'); // the baud code
        for (const std::string& r : replies)
            for (std::size_t at = 0; at == 0 || at < r.size(); at += 255) {
                const std::string part = r.substr(at, 255);
                out.append(1, static_cast<char>(part.size())).append(part);
            }
        return out;
    };
    const std::string idle = meter.receive("X");
    std::vector<std::string> statusRead = {idle, idle};
    for (int address = 0; address < pa::sim::kStatusBlockBytes; ++address)
        statusRead.push_back(std::string{'\x02', static_cast<char>(logger.at(address)), '\x03'});
    write(folder, "status", pieces(statusRead));
    std::vector<std::string> download = statusRead;
    download.push_back(idle);
    download.push_back(meter.receive("U"));
    write(folder, "download", pieces(download));
    write(folder, "noise", pieces({idle, std::string(200, '\x02'), std::string(255, 'x')}));
    write(folder, "frequency", pieces({idle, "", "", meter.frequencyReply()}));
}

// Polls for the record writer: the typed line, then a length byte and the bytes of each poll.
void recordSeeds(const fs::path& folder) {
    pa::sim::Instrument meter;
    std::string polls;
    for (int i = 0; i < 6; ++i) {
        const std::string frame = i == 3 ? std::string() : meter.liveFrame();
        polls.append(1, static_cast<char>(frame.size())).append(frame);
    }
    write(folder, "auto", "1\n" + polls);
    write(folder, "manual", "\x01" + std::string("5\n") + polls);
    write(folder, "silent", "8\n" + std::string(8, '\0'));
}

// The report's target: a first byte (odd: the rest is cut in two files), then file contents:
// a recording across midnight with a dip and a silent spell, whole and cut, and a download.
void reportSeeds(const fs::path& folder) {
    pa::datafile::RecordTexts t{"11-23-2026", "23:59:50.0", "1200.0", ".800",  "230.0",
                                "6.522",      "36.9",       "1500.0", "900.0", "0.0012",
                                "10.00",      "month",      "8",      "$2.50"};
    std::string file = pa::datafile::headerLine("month") + "\r\n";
    for (int r = 0; r < 30; ++r) {
        const int s = 50 + r * 10; // seconds from 23:59:00
        t.date = s < 60 ? "11-23-2026" : "11-24-2026";
        const int m = (s / 60 + 59) % 60, sec = s % 60;
        t.clock = std::string(s < 60 ? "23:" : "00:") + (m < 10 ? "0" : "") + std::to_string(m) +
                  ":" + (sec < 10 ? "0" : "") + std::to_string(sec) + ".0";
        t.volts = r == 5 || r == 6 ? "190.0" : "230.0";
        file += pa::datafile::recordLine(r, t) + "\r\n";
        if (r == 20)
            file += pa::datafile::lostCommunicationLine(t.date, "00:03:35.0") + "\r\n";
    }
    write(folder, "recording", std::string(1, '\0') + file);
    write(folder, "cut", "\x01" + file);
    write(folder, "download",
          "\x02No.,Date,Time,Watts,PF,Volts,Amps\r\n1,12-31,23:59:30,500.0,0.5,200.0,5.0\r\n"
          "2,12-31,00:00:00.0,500.0,0.5,200.0,5.0\r\n3,12-31,00:00:30.0,-OL,0.5,200.0,5.0\r\n");
}

// The alarm file target reads the whole input as an alarm file: every kind of condition and
// action, delays and hysteresis.
void alarmSeeds(const fs::path& folder) {
    write(folder, "every_kind",
          "# limits of a pump\n"
          "[motor overload]\nquantity = W\nabove = 1500\nfor = 5\nhysteresis = 50\n"
          "actions = banner, beep, mark, log, run, mqtt\nrun = /usr/bin/logger %n %v %u %t\n"
          "[supply]\nquantity = V\noutside = 207..253\nfor = 2\nactions = log\n"
          "[pf]\nquantity = PF\nbelow = 0.9\nhysteresis = 0.02\nactions = banner, record_start\n"
          "[quiet]\nquantity = A\ninside = 0..0.05\nactions = record_stop\n"
          "[overload]\nquantity = A\noverload = yes\nactions = beep\n"
          "[silence]\nquantity = reading\nsilent_for = 10\nactions = log, mqtt\n"
          "[budget]\nquantity = cost_per_day\nabove = 3\nactions = log\n");
}

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: make_seeds FOLDER\n", stderr);
        return 2;
    }
    const fs::path root = argv[1];
    liveSeeds(root / "live_tick_fuzz");
    loggerSeeds(root / "logger_input_fuzz");
    entrySeeds(root / "text_entry_fuzz");
    commandLineSeeds(root / "command_line_fuzz");
    plotSeeds(root / "plot_file_fuzz");
    exchangeSeeds(root / "logger_exchange_fuzz");
    recordSeeds(root / "record_writer_fuzz");
    // The export reads the same data files, and datalogger downloads.
    plotSeeds(root / "recording_export_fuzz");
    write(root / "recording_export_fuzz", "download",
          "No.,Date,Time,Watts,PF,Volts,Amps\r\n1,12-31,23:59:59,116.4,0.9,230.0,0.6\r\n"
          "2,12-31,00:00:00.4,OL,0.9,230.0,0.6\r\n");
    reportSeeds(root / "report_survey_fuzz");
    alarmSeeds(root / "alarm_file_fuzz");
    return 0;
}
