// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// Every datalogger exchange against a line that answers anything at all: the state query,
// the status block read byte by byte with its retries, the whole download (receiver, status
// decode with the record count it promises, conversion, file), the self-test read and the
// frequency reply of the live cycle. The input is the line's side: a length byte and that
// many bytes for each read of the port, then silence. Exchanges run on a virtual clock, so
// every time-out costs nothing; what must hold is that each ends, and that a download file
// never holds more lines than the logger's memory can give.
#include "live/live_cycle.h"
#include "logger/logger_session.h"
#include "logger/self_test.h"
#include "support/fake_clock.h"
#include "support/scripted_ui.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

class FuzzLine : public pa::app::Port {
  public:
    FuzzLine(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool setPortName(const std::string&) override { return true; }
    std::string portName() const override { return "FUZZ"; }
    void setSettings(const std::string&) override {}
    std::string settings() const override { return "9600,n,8,1"; }
    bool open() override { return true; }
    void close() override {}
    bool isOpen() const override { return true; }
    std::string lastError() const override { return ""; }
    void write(const std::string&) override {}
    int bytesWaiting() override {
        return at_ < size_ ? static_cast<int>(std::min<std::size_t>(data_[at_], size_ - at_ - 1))
                           : 0;
    }
    std::string readAll() override {
        if (at_ >= size_)
            return "";
        const std::size_t n = std::min<std::size_t>(data_[at_], size_ - at_ - 1);
        std::string piece(reinterpret_cast<const char*>(data_ + at_ + 1), n);
        at_ += n + 1;
        return piece;
    }

  private:
    const std::uint8_t* data_;
    std::size_t size_, at_ = 0;
};

std::string scratchFolder() {
    const std::string base = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
    const std::string folder = base + "/pa-fuzz-logger-" + std::to_string(::getpid());
    std::filesystem::create_directories(folder);
    return folder;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string folder = scratchFolder();
    const std::string path = folder + "/download.txt";
    std::filesystem::remove(path);

    FuzzLine line(data, size);
    pa::testing::FakeClock clock;
    pa::testing::ScriptedUi ui;
    pa::app::ProgramState state;
    state.baudCode = size > 0 ? "\x09\x04\x02\x01\x00"[data[0] % 5] : 9;
    pa::logger::LoggerExchange exchange(line, clock, ui, state);
    pa::logger::LoggerSession session(
        exchange, [](int) {}, [] { return folder; });
    pa::logger::SelfTest selfTest(exchange, [](int) {});
    pa::live::LiveCycle cycle(line, clock, ui, state);

    exchange.QueryLoggerState();
    session.Read_Status();
    ui.files.push_back(path);
    session.Read_All();
    selfTest.diag_read();
    cycle.GetHz();
    exchange.ReportReplyCheck(pa::logger::kOneByteReply, line.readAll());

    // The header and at most one line per 8-byte record of an 8 KB memory.
    std::ifstream in(path, std::ios::binary);
    const auto lines = std::count(std::istreambuf_iterator<char>(in), {}, '\n');
    if (lines > 1 + 8192 / 8)
        __builtin_trap();
    return 0;
}
