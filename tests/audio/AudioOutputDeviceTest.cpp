#include "AudioOutputDevice.h"

#include <gtest/gtest.h>

#include <QLocale>

using T = AudioOutputDevice::Transport;

TEST(AudioOutputDevice, SortsByNameAsTheUserReadsAndCaptionsTransportsInGerman) {
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    std::vector<AudioOutputDevice> devices{{1, "z", "zeta"},  {2, "l1", "Lautsprecher"},
                                           {3, "a", "Alpha"}, {4, "l2", "lautsprecher"},
                                           {5, "u", "Ärger"}, {6, "b", "beta"}};
    sortByName(devices);
    std::vector<AudioDeviceID> order;
    for (const auto& device : devices)
        order.push_back(device.id);
    // Umlauts next to their letter, case ignored, equal names in the platform's order.
    EXPECT_EQ(order, (std::vector<AudioDeviceID>{3, 5, 6, 2, 4, 1}));

    EXPECT_STREQ(label(T::bluetooth), "Bluetooth");
    EXPECT_STREQ(label(T::builtIn), "Eingebaut");
    EXPECT_STREQ(label(T::other), "Kabel/Sonstige");
}
