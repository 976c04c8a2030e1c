// Where the alarm log may not go: what is no file is refused at once, never waited on.
#include "alarms/alarm_actions.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace {

TEST(AlarmLogPaths, WhatIsNoFileIsRefusedWithoutWaiting) {
    pa::testing::TempFolder dir;
    pa::alarms::AlarmLog log;
    EXPECT_EQ(log.open(dir.str()),
              "cannot write the alarm log " + dir.str() + ": it is not a regular file");
#ifndef _WIN32
    const std::string fifo = dir.str() + "/log.csv";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_NE(log.open(fifo).find("it is not a regular file"), std::string::npos);
    EXPECT_EQ(log.open("/dev/null"), "") << "a device takes lines";
#endif
    EXPECT_NE(log.open(dir.str() + "/missing/log.csv").find(pa::datafile::systemReason(ENOENT)),
              std::string::npos);
    EXPECT_FALSE(log.isOpen());
}

} // namespace
