// The simulated logger through the instrument's receive(): commands, memory and faults.
#include "instrument.h"
#include "support/bytes.h"

#include <gtest/gtest.h>

namespace {

using namespace pa::sim;

using pa::testing::bytes;

TEST(LoggerModel, CommandsAndTheirReplies) {
    Instrument meter;
    EXPECT_EQ(meter.receive("X"), bytes({2, 0, 3}));
    // Argument bytes are the logger's, even when they look like live commands (' ' = 32).
    EXPECT_EQ(meter.receive("W" + bytes({32, 0, 0x5A})), "");
    EXPECT_EQ(meter.receive("R" + bytes({32, 0})), bytes({2, 0x5A, 3}));
    EXPECT_EQ(meter.framesSent(), 0);
    // Split across writes, as the program sends them.
    EXPECT_EQ(meter.receive("R"), "");
    EXPECT_EQ(meter.receive(bytes({6})), "");
    EXPECT_EQ(meter.receive(bytes({0})), bytes({2, 0x20, 3})); // 8 KB memory size byte
    meter.receive("EEES" + bytes({'G', 'N', 'T', 'E', 'E'}));
    EXPECT_EQ(meter.logger().serviceCommands(),
              (std::vector<std::string>{"EEE", "S", "G", "N", "T"}));
    // The live exchange still works between logger commands.
    EXPECT_EQ(meter.receive(" ").size(), static_cast<std::size_t>(kFrameSize));
}

TEST(LoggerModel, DownloadIsTheWholeMemoryFramed) {
    Instrument meter;
    meter.logger().appendRecord(116.38, 0.55, 230, 0.92);
    const std::string stream = meter.receive("U");
    ASSERT_EQ(stream.size(), static_cast<std::size_t>(kLoggerMemoryBytes + 2));
    EXPECT_EQ(stream.front(), kStx);
    EXPECT_EQ(stream.back(), kEtx);
    EXPECT_EQ(static_cast<unsigned char>(stream[1 + 20]), 104); // the pointer after one record
    EXPECT_EQ(static_cast<unsigned char>(stream[1 + 96]),
              showOnRange(116.38, kWattRanges).word & 0xFF);
}

TEST(LoggerModel, RecordingAndSelfTestingRefuseWritesAndShowInTheStatus) {
    Instrument meter;
    meter.logger().setRecording(true);
    EXPECT_EQ(meter.receive("X"), bytes({2, 1, 3}));
    meter.receive("W" + bytes({5, 0, 2}));
    EXPECT_EQ(meter.logger().at(5), 0);
    meter.logger().setRecording(false);
    meter.logger().setSelfTesting(true);
    EXPECT_EQ(meter.receive("X"), bytes({2, 0x20, 3}));
    meter.receive("W" + bytes({5, 0, 2}));
    EXPECT_EQ(meter.logger().at(5), 0);
    EXPECT_EQ(meter.logger().writes(), 0);
}

TEST(LoggerModel, RequestedSelfTestRunsAtPowerOn) {
    Instrument meter;
    meter.receive("W" + bytes({45, 0, 150}));
    meter.logger().powerCycle(false, 0x0102);
    EXPECT_EQ(meter.logger().at(45), 2);
    EXPECT_EQ(meter.logger().word(46), 0x0102);
    meter.logger().powerCycle(true); // nothing requested: the verdict stays
    EXPECT_EQ(meter.logger().at(45), 2);
}

TEST(LoggerModel, FaultsHitTheCountedRepliesOnly) {
    Instrument meter;
    meter.logger().fillRecords(4, Load{});
    meter.logger().setFault(LoggerFault::NoReply, 1, 1);
    EXPECT_EQ(meter.receive("X"), bytes({2, 0, 3}));
    EXPECT_EQ(meter.receive("X"), "");
    EXPECT_EQ(meter.receive("X"), bytes({2, 0, 3}));
    meter.logger().setFault(LoggerFault::BadFraming, 1);
    EXPECT_EQ(meter.receive("X"), bytes({0x15, 0, 3}));
    meter.logger().setFault(LoggerFault::ShortStream, 1);
    EXPECT_EQ(meter.receive("X"), bytes({2, 0, 3})) << "stream faults wait for a download";
    EXPECT_EQ(meter.receive("U").size(), 1u + 96 + 16 + 1);
    meter.logger().setFault(LoggerFault::NoEtx, 1);
    EXPECT_NE(meter.receive("U").back(), kEtx);
    EXPECT_EQ(meter.receive("U").back(), kEtx);
    meter.setFault(Fault::Silent);
    EXPECT_EQ(meter.receive("X"), "");
}

} // namespace
