#include "ZoneCoding.h"

#include <gtest/gtest.h>

namespace {
const QUuid kOffice = QUuid::fromString(QStringLiteral("E621E1F8-C36C-495A-93FC-0C247A3E6E5F"));
}

TEST(ZoneCoding, WritesTheStoredFormByteForByteAndReadsItBack) {
    const std::vector<Zone> zones{
        {kOffice, "Büro/Flur", {"BuiltInSpeakerDevice", "usb-dac"}, std::nullopt},
        {QUuid::fromString(QStringLiteral("0b9d3a4e-1f2c-4d5e-8f70-a1b2c3d4e5f6")),
         "Küche",
         {"headset"},
         HotKeyCombo{49, 0x1800, "⌃⌥Space"}}};

    // Compact, members in a fixed order, ids in uppercase, UTF-8 kept as it is, "/" escaped.
    const std::string json = encodeZones(zones);
    EXPECT_EQ(json, R"([{"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","name":"Büro\/Flur",)"
                    R"("deviceUIDs":["BuiltInSpeakerDevice","usb-dac"]},)"
                    R"({"id":"0B9D3A4E-1F2C-4D5E-8F70-A1B2C3D4E5F6","name":"Küche",)"
                    R"("deviceUIDs":["headset"],)"
                    R"("hotKey":{"keyCode":49,"modifiers":6144,"display":"⌃⌥Space"}}])");
    EXPECT_EQ(decodeZones(json), zones);
}

TEST(ZoneCoding, ReadsLenientlyWhereHarmlessAndRejectsTheWholeListOnAnyBadElement) {
    // A lowercase id, a null hot key and unknown members are fine.
    EXPECT_EQ(decodeZones(R"([{"name":"Büro","id":"e621e1f8-c36c-495a-93fc-0c247a3e6e5f",)"
                          R"("deviceUIDs":[],"hotKey":null,"colour":"blue"}])"),
              (std::vector<Zone>{{kOffice, "Büro", {}, std::nullopt}}));

    const std::string good = R"({"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","name":"ok",)"
                             R"("deviceUIDs":["a"]})";
    const std::string id = R"({"id":"0B9D3A4E-1F2C-4D5E-8F70-A1B2C3D4E5F6")";
    auto withKeyCode = [&id](const std::string& code) {
        return id + R"(,"name":"x","deviceUIDs":[],"hotKey":{"keyCode":)" + code +
               R"(,"modifiers":0,"display":"x"}})";
    };
    auto list = [&good](const std::string& other) { return "[" + good + "," + other + "]"; };
    EXPECT_TRUE(decodeZones(list(withKeyCode("4294967295"))));
    for (const std::string& bad : std::vector<std::string>{
             R"({"id":"0B9D3A4E-1F2C-4D5E-8F70-A1B2C3D4E5F","name":"x","deviceUIDs":[]})",
             id + R"(,"deviceUIDs":[]})",
             id + R"(,"name":7,"deviceUIDs":[]})",
             withKeyCode("4294967296"),
         }) {
        EXPECT_FALSE(decodeZones(list(bad))) << bad;
    }
}
