#include "SystemColorScheme.h"
#include "SchemeTestSupport.h"
#include "StandInPortal.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class SystemColorSchemeTest : public testing::Test {
protected:
    SystemColorSchemeTest() { usePalette(lightWindow); }
    ~SystemColorSchemeTest() override { QGuiApplication::setPalette(original); }

    void listen(SystemColorScheme& scheme) {
        QObject::connect(&scheme, &SystemColorScheme::prefersDarkChanged,
                         [this](bool dark) { heard.push_back(dark); });
    }

    const QPalette original = QGuiApplication::palette();
    const QByteArray bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    std::vector<bool> heard;
};

} // namespace

TEST_F(SystemColorSchemeTest, ThePortalsPreferenceIsReadWithoutWaitingAndFollowed) {
    StandInPortal portal(bus, 1, StandInPortal::Version::KnowsReadOne);
    ASSERT_TRUE(portal.isRegistered());
    SystemColorScheme scheme;
    listen(scheme);
    EXPECT_FALSE(scheme.prefersDark()) << "start-up does not wait for the portal's answer";
    ASSERT_TRUE(eventually([&] { return scheme.prefersDark(); }));

    portal.setColorScheme(2);
    ASSERT_TRUE(eventually([&] { return !scheme.prefersDark(); }));
    emit portal.SettingChanged(QStringLiteral("org.gnome.desktop.interface"),
                               QStringLiteral("color-scheme"), QDBusVariant(1u));
    usePalette(darkWindow);
    settle();
    EXPECT_FALSE(scheme.prefersDark()) << "a stated preference outranks the palette";

    portal.setColorScheme(0);
    ASSERT_TRUE(eventually([&] { return scheme.prefersDark(); })) << "no preference: the palette";
    EXPECT_EQ(heard, (std::vector{true, false, true}));
}

TEST_F(SystemColorSchemeTest, AnOlderPortalIsAskedThroughRead) {
    StandInPortal portal(bus, 1, StandInPortal::Version::ReadOnly);
    ASSERT_TRUE(portal.isRegistered());
    SystemColorScheme scheme;
    ASSERT_TRUE(eventually([&] { return scheme.prefersDark(); }));
}

TEST_F(SystemColorSchemeTest, WithoutAPortalThePaletteDecidesAndIsFollowed) {
    usePalette(darkWindow);
    SystemColorScheme scheme;
    listen(scheme);
    EXPECT_TRUE(scheme.prefersDark());
    settle();
    EXPECT_TRUE(scheme.prefersDark());
    usePalette(lightWindow);
    EXPECT_FALSE(scheme.prefersDark());
    EXPECT_EQ(heard, (std::vector{false}));
}
