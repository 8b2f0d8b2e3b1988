#include "AudioOutputDevice.h"

#include <gtest/gtest.h>

#include <QLocale>
#include <unordered_set>

using T = AudioOutputDevice::Transport;

namespace {
std::vector<std::string> names(const std::vector<AudioOutputDevice>& devices) {
    std::vector<std::string> result;
    for (const auto& d : devices)
        result.push_back(d.name);
    return result;
}
} // namespace

TEST(AudioOutputDevice, ListsSortByNameIgnoringCaseAndKeepThePlatformOrderForEqualNames) {
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    std::vector<AudioOutputDevice> devices{
        {1, "z", "zeta", T::usb},   {2, "l1", "Lautsprecher", T::builtIn},
        {3, "a", "Alpha", T::hdmi}, {4, "l2", "lautsprecher", T::bluetooth},
        {5, "b", "beta", T::other}, {6, "u", "Ärger", T::other}};
    sortByName(devices);
    EXPECT_EQ(names(devices), (std::vector<std::string>{"Alpha", "Ärger", "beta", "Lautsprecher",
                                                        "lautsprecher", "zeta"}));
    EXPECT_EQ(devices[3].id, 2u); // equal names stay in listing order, ids never break ties
    EXPECT_EQ(devices[4].id, 4u);
}

TEST(AudioOutputDevice, ARenamedDeviceIsADifferentValueWithTheSameId) {
    const AudioOutputDevice before{7, "usb-1", "USB DAC", T::usb};
    const AudioOutputDevice after{7, "usb-1", "Schreibtisch", T::usb};
    EXPECT_NE(before, after);
    EXPECT_EQ(before.id, after.id);
    EXPECT_EQ(before, (AudioOutputDevice{7, "usb-1", "USB DAC", T::usb}));

    std::unordered_set<AudioOutputDevice> set{before, after, before};
    EXPECT_EQ(set.size(), 2u);
}

TEST(AudioOutputDevice, EveryTransportHasItsGermanCaption) {
    const std::vector<std::pair<T, std::string>> expected{
        {T::bluetooth, "Bluetooth"},     {T::usb, "USB"},
        {T::builtIn, "Eingebaut"},       {T::hdmi, "HDMI"},
        {T::displayPort, "DisplayPort"}, {T::airPlay, "AirPlay"},
        {T::thunderbolt, "Thunderbolt"}, {T::aggregate, "Aggregat"},
        {T::virtual_, "Virtuell"},       {T::other, "Kabel/Sonstige"}};
    for (const auto& [transport, text] : expected)
        EXPECT_EQ(label(transport), text);
}
