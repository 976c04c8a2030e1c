// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// The messages the monitor publishes: the state object of a sample (with null, never 0, for
// what the instrument does not give as a number), the time stamp, the topics and the Home
// Assistant discovery configs.
#include "live/mqtt_messages.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

using namespace pa::live;

Readouts readouts(std::array<const char*, 9> panels) {
    Readouts r;
    for (int p = 0; p < 9; ++p)
        r.Panel3D2[p] = panels[p];
    return r;
}

TEST(PanelNumber, ReadsNumbersAndRefusesEverythingElse) {
    const std::pair<const char*, double> numbers[] = {
        {"230.1", 230.1},   {" -12.50 ", -12.5}, {".920", 0.92}, {"50Hz", 50},
        {"49.98Hz", 49.98}, {"1.2E-03", 0.0012}, {"+5", 5},      {"0", 0.0}};
    for (const auto& [text, value] : numbers)
        EXPECT_EQ(panelNumber(text), value) << '"' << text << '"';
    for (const char* text :
         {"OL", "-OL", "Init", "?", "", "  ", "12abc", "inf", "nan", "Hz", "1,5"})
        EXPECT_EQ(panelNumber(text), std::nullopt) << '"' << text << '"';
}

TEST(StateJson, OneObjectPerSampleWithNullForWhatIsNotKnown) {
    const char* const stamp = "2026-11-23T17:52:16.400Z";
    const struct {
        const char* what;
        std::array<const char*, 9> panels; // W PF V A angle VA VAR Hz KWH
        const char* json;
    } cases[] = {
        {"frequency not asked for yet",
         {"1E+3", ".920", "230", ".550", "23.1", "126.50", "49.53", "", "12345.5"},
         R"({"time":"2026-11-23T17:52:16.400Z","W":1000,"PF":0.92,"V":230,"A":0.55,)"
         R"("angle":23.1,"VA":126.5,"VAR":49.53,"Hz":null,"kWh":12345.5})"},
        {"a true zero stays 0",
         {"0", "1.000", "230", "0", "0.0", "0.00", "0.00", "50Hz", "0.0"},
         R"({"time":"2026-11-23T17:52:16.400Z","W":0,"PF":1,"V":230,"A":0,)"
         R"("angle":0,"VA":0,"VAR":0,"Hz":50,"kWh":0})"},
        {"current overload: VA and VAR were computed from 0",
         {"116.4", ".920", "230", "OL", "23.1", "0.00", "0.00", "50Hz", "0.0012"},
         R"({"time":"2026-11-23T17:52:16.400Z","W":116.4,"PF":0.92,"V":230,"A":null,)"
         R"("angle":23.1,"VA":null,"VAR":null,"Hz":50,"kWh":0.0012})"},
        {"power overload: VAR was computed from 0",
         {"-OL", ".920", "230", ".550", "23.1", "126.50", "126.50", "50Hz", "0.0012"},
         R"({"time":"2026-11-23T17:52:16.400Z","W":null,"PF":0.92,"V":230,"A":0.55,)"
         R"("angle":23.1,"VA":126.5,"VAR":null,"Hz":50,"kWh":0.0012})"},
        {"start-up: nothing measured yet",
         {"Init", "Init", "Init", "Init", "?", "0.00", "0.00", "", ""},
         R"({"time":"2026-11-23T17:52:16.400Z","W":null,"PF":null,"V":null,"A":null,)"
         R"("angle":null,"VA":null,"VAR":null,"Hz":null,"kWh":null})"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(stateJson(readouts(c.panels), stamp), c.json) << c.what;
}

TEST(StateJson, EscapesTheTimeStampText) {
    const std::string json = stateJson(Readouts{}, "a\"b\\c\n");
    EXPECT_TRUE(json.starts_with(R"({"time":"a\"b\\c\n",)")) << json;
}

TEST(IsoTimestamp, UtcWithMilliseconds) {
    using namespace std::chrono;
    const std::pair<system_clock::time_point, const char*> cases[] = {
        {system_clock::time_point{}, "1970-01-01T00:00:00.000Z"},
        {sys_days{2026y / November / 23} + 17h + 52min + 16s + 400ms, "2026-11-23T17:52:16.400Z"},
        {sys_days{2028y / February / 29} + 23h + 59min + 59s + 999ms + 900us,
         "2028-02-29T23:59:59.999Z"},
    };
    for (const auto& [time, text] : cases)
        EXPECT_EQ(isoTimestamp(time), text);
}

TEST(Discovery, OneRetainedSensorConfigPerQuantity) {
    const auto configs = discoveryConfigs("site/meter-1", {"", "1.2.3", 45});
    const struct {
        const char* object;
        const char* fields;
    } expected[] = {
        {"w", R"("device_class":"power","unit_of_measurement":"W","state_class":"measurement")"},
        {"pf", R"("device_class":"power_factor","state_class":"measurement")"},
        {"v", R"("device_class":"voltage","unit_of_measurement":"V","state_class":"measurement")"},
        {"a", R"("device_class":"current","unit_of_measurement":"A","state_class":"measurement")"},
        {"angle", R"("availability_topic":"site/meter-1/availability","unit_of_measurement":"°")"},
        {"va", R"("device_class":"apparent_power","unit_of_measurement":"VA")"},
        {"var", R"("device_class":"reactive_power","unit_of_measurement":"var")"},
        {"hz", R"("device_class":"frequency","unit_of_measurement":"Hz")"},
        {"kwh", R"("device_class":"energy","unit_of_measurement":"kWh",)"
                R"("state_class":"total_increasing")"},
    };
    ASSERT_EQ(configs.size(), std::size(expected));
    for (std::size_t i = 0; i < configs.size(); ++i) {
        const auto& c = configs[i];
        const std::string object = expected[i].object;
        EXPECT_EQ(c.topic, "homeassistant/sensor/site_meter-1/" + object + "/config");
        EXPECT_EQ(c.payload.find("object_id"), std::string::npos) << "deprecated";
        for (const std::string& part :
             {std::string(expected[i].fields), R"("unique_id":"site_meter-1_)" + object + '"',
              std::string(R"("state_topic":"site/meter-1/state")"),
              std::string(R"("value_template":"{{ value_json.)"),
              std::string(R"("expire_after":45)"),
              R"("default_entity_id":"sensor.site_meter_1_)" + object + '"',
              std::string(R"("device":{"identifiers":["site_meter-1"],)"
                          R"("name":"Power Analyzer site/meter-1",)"
                          R"("manufacturer":"Power Analyzer project",)"
                          R"("model":"single-phase power analyzer","sw_version":"1.2.3"},)"
                          R"("origin":{"name":"poweranalyzer-cli","sw_version":"1.2.3"}})")})
            EXPECT_NE(c.payload.find(part), std::string::npos) << part << " in " << c.payload;
    }
    EXPECT_EQ(configs[1].payload.find("unit_of_measurement"), std::string::npos)
        << "a power factor is a plain number";
    const auto other = discoveryConfigs("m", {"serial-A1", "", 0, "ha"})[0];
    EXPECT_EQ(other.topic, "ha/sensor/m/w/config");
    EXPECT_NE(other.payload.find(R"("identifiers":["serial-A1"])"), std::string::npos);
    EXPECT_EQ(other.payload.find("expire_after"), std::string::npos);
}

} // namespace
