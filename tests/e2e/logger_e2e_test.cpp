// The datalogger through the real serial path: QSerialPort on the simulator's
// pseudo-terminal, with the protocol's real pauses.
#include "e2e/logger_pty_rig.h"
#include "logger/settings_encoding.h"

#include <QFile>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace {

struct LoggerOverPty : ::testing::Test, pa::testing::LoggerRigOverPty {};

TEST_F(LoggerOverPty, StatusModeSettingsAndSelfTest) {
    onLogger([](auto& l) { return l.fillRecords(3, pa::sim::Load{}); });
    session.Read_Status();
    EXPECT_TRUE(ui.messages.empty()) << ui.messages[0].text;
    EXPECT_EQ(session.Label1[30], "IDLE");
    EXPECT_EQ(session.Label1[7], "3");
    EXPECT_EQ(session.Text1[1], "11-15");

    session.comboChosen(pa::logger::kModeCombo, 1); // Max, after its note
    EXPECT_EQ(onLogger([](auto& l) { return int(l.at(5)); }), 1);

    session.Text1[1] = "02-25";
    session.Text1[2] = "20:06:00";
    session.updateSetting(pa::logger::kTimeBox);
    EXPECT_EQ(onLogger([](auto& l) {
                  std::string digits;
                  for (int a = 8; a < 18; ++a)
                      digits.push_back(static_cast<char>(l.at(a)));
                  return digits;
              }),
              "0225200600");

    selfTest.diag_read();
    EXPECT_EQ(selfTest.results[1], "OK");
    EXPECT_EQ(selfTest.results[5], "None");
    EXPECT_EQ(selfTest.verdict[1], "PASS");
    EXPECT_EQ(ui.messages.size(), 1u) << "only the Max note";
    EXPECT_TRUE(link.sampling());
}

TEST_F(LoggerOverPty, DownloadOfAFullMemory) {
    const int records = onLogger([](auto& l) { return l.fillRecords(5000, pa::sim::Load{}); });
    ASSERT_EQ(records, 1012) << "8192 bytes less the status block, 8 a record";
    const std::string path = folder.str() + "/full.txt";
    ui.files.push_back(path);
    session.Read_All();
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text,
              std::to_string(records) + " records received and stored in FILE " + path);
    QFile file(QString::fromStdString(path));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll().count('\n'), records + 1);
    EXPECT_TRUE(link.sampling());
}

TEST_F(LoggerOverPty, InstrumentUnpluggedMidDownloadWritesNoFile) {
    onLogger([](auto& l) {
        const int filled = l.fillRecords(5000, pa::sim::Load{});
        // The only check on a stream is its last byte, so a cut that happens to end on an
        // ETX byte inside the data would pass as whole: keep ETX out of the record area.
        for (int a = 96; a < static_cast<int>(l.memory().size()); ++a)
            if (l.at(a) == 0x03)
                l.set(a, 0x04);
        return filled;
    });
    sim.setPaceToBaud(true); // 8.5 s on the wire: time enough to pull the plug
    const std::string path = folder.str() + "/cut.txt";
    ui.files.push_back(path);
    // The state query takes about 0.7 s and the stream 8.5 s after it: pull the plug in
    // the middle of the stream.
    std::thread unplug([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(2500));
        sim.stop();
    });
    session.Read_All();
    unplug.join();
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "Inncorrect ending byte");
    EXPECT_FALSE(QFile::exists(QString::fromStdString(path)));
}

} // namespace
