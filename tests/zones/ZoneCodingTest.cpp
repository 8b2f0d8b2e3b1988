#include "ZoneCoding.h"

#include <gtest/gtest.h>

namespace {

const QUuid kOffice = QUuid::fromString(QStringLiteral("E621E1F8-C36C-495A-93FC-0C247A3E6E5F"));
const QUuid kKitchen = QUuid::fromString(QStringLiteral("0b9d3a4e-1f2c-4d5e-8f70-a1b2c3d4e5f6"));
const QUuid kEmpty = QUuid::fromString(QStringLiteral("00000000-0000-4000-8000-000000000001"));

} // namespace

TEST(ZoneCoding, WritesTheStoredFormByteForByteAndReadsItBack) {
    const std::vector<Zone> zones{
        {kOffice, "Büro/Flur", {"BuiltInSpeakerDevice", "usb-dac"}, std::nullopt},
        {kKitchen, "Küche", {"headset"}, HotKeyCombo{49, 0x1800, "⌃⌥Space"}},
        {kEmpty, "", {}, std::nullopt}};

    // Compact, members in a fixed order, ids in uppercase, UTF-8 kept as it is, "/" escaped.
    const std::string json = encodeZones(zones);
    EXPECT_EQ(json, R"([{"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","name":"Büro\/Flur",)"
                    R"("deviceUIDs":["BuiltInSpeakerDevice","usb-dac"]},)"
                    R"({"id":"0B9D3A4E-1F2C-4D5E-8F70-A1B2C3D4E5F6","name":"Küche",)"
                    R"("deviceUIDs":["headset"],)"
                    R"("hotKey":{"keyCode":49,"modifiers":6144,"display":"⌃⌥Space"}},)"
                    R"({"id":"00000000-0000-4000-8000-000000000001","name":"","deviceUIDs":[]}])");
    EXPECT_EQ(decodeZones(json), zones);
    EXPECT_EQ(encodeZones({}), "[]");
    EXPECT_EQ(decodeZones("[]"), std::vector<Zone>{});
}

TEST(ZoneCoding, ReadsLenientlyWhereHarmlessAndRejectsTheWholeListOnAnyBadElement) {
    // Lowercase ids, a null hot key and unknown members are fine; display is shown as stored.
    const auto lenient = decodeZones(
        R"([{"name":"Büro","id":"e621e1f8-c36c-495a-93fc-0c247a3e6e5f","deviceUIDs":[],)"
        R"("hotKey":null,"colour":"blue"},)"
        R"({"id":"0B9D3A4E-1F2C-4D5E-8F70-A1B2C3D4E5F6","name":"K","deviceUIDs":["a"],)"
        R"("hotKey":{"display":"edited by hand","keyCode":0,"modifiers":256,"extra":1}}])");
    ASSERT_TRUE(lenient);
    ASSERT_EQ(lenient->size(), 2u);
    EXPECT_EQ((*lenient)[0].id, kOffice);
    EXPECT_FALSE((*lenient)[0].hotKey);
    EXPECT_EQ((*lenient)[1].hotKey, (HotKeyCombo{0, 256, "edited by hand"}));

    const std::string good = R"({"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","name":"ok",)"
                             R"("deviceUIDs":["a"]})";
    auto withBad = [&good](const std::string& bad) { return "[" + good + "," + bad + "]"; };
    const std::string id = R"("id":"0B9D3A4E-1F2C-4D5E-8F70-A1B2C3D4E5F6")";
    for (const std::string& bad : std::vector<std::string>{
             R"({"id":"0B9D3A4E-1F2C-4D5E-8F70-A1B2C3D4E5F","name":"x","deviceUIDs":[]})",
             R"({"id":"{0B9D3A4E-1F2C-4D5E-8F70-A1B2C3D4E5F6}","name":"x","deviceUIDs":[]})",
             "{" + id + R"(,"deviceUIDs":[]})",
             "{" + id + R"(,"name":7,"deviceUIDs":[]})",
             "{" + id + R"(,"name":"x","deviceUIDs":["a",1]})",
             "{" + id +
                 R"(,"name":"x","deviceUIDs":[],"hotKey":{"keyCode":4294967296,)"
                 R"("modifiers":0,"display":"x"}})",
             "{" + id +
                 R"(,"name":"x","deviceUIDs":[],"hotKey":{"keyCode":-1,)"
                 R"("modifiers":0,"display":"x"}})",
             "{" + id +
                 R"(,"name":"x","deviceUIDs":[],"hotKey":{"keyCode":1.5,)"
                 R"("modifiers":0,"display":"x"}})",
             "{" + id + R"(,"name":"x","deviceUIDs":[],"hotKey":{"keyCode":1,"display":"x"}})",
             "{" + id + R"(,"name":"x","deviceUIDs":[],"hotKey":"⌘A"})",
         }) {
        EXPECT_FALSE(decodeZones(withBad(bad))) << bad;
    }
    EXPECT_TRUE(decodeZones(withBad("{" + id +
                                    R"(,"name":"x","deviceUIDs":[],"hotKey":)"
                                    R"({"keyCode":4294967295,"modifiers":0,)"
                                    R"("display":"x"}})")));
    EXPECT_FALSE(decodeZones("not json"));
    EXPECT_FALSE(decodeZones(R"({"id":"x"})"));
}
