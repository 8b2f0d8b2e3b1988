#include "AppearanceSetting.h"
#include "SchemeTestSupport.h"
#include "SystemColorScheme.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QVariantMap>

#include <gtest/gtest.h>

namespace {

// Settings in a private file, and a light desktop unless a test says otherwise. No portal runs
// on the test's bus, so the palette speaks for the system.
class AppearanceSettingTest : public testing::Test {
protected:
    AppearanceSettingTest() { usePalette(lightWindow); }
    ~AppearanceSettingTest() override { QGuiApplication::setPalette(original); }

    QVariant stored() const { return settings.value(QLatin1String(AppearanceSetting::key)); }

    void count(AppearanceSetting& setting) {
        QObject::connect(&setting, &AppearanceSetting::rawChanged, [this] { ++rawChanges; });
        QObject::connect(&setting, &AppearanceSetting::darkChanged, [this] { ++darkChanges; });
    }

    const QPalette original = QGuiApplication::palette();
    QTemporaryDir folder;
    QSettings settings{folder.filePath(QStringLiteral("brivello.conf")), QSettings::IniFormat};
    SystemColorScheme system;
    int rawChanges = 0;
    int darkChanges = 0;
};

} // namespace

TEST_F(AppearanceSettingTest, TheChoiceIsStoredForcesItsSchemeAndOutlivesTheProgram) {
    AppearanceSetting setting(system, &settings);
    count(setting);
    EXPECT_EQ(setting.raw(), QLatin1String("system"));
    EXPECT_EQ(setting.symbolName(), QLatin1String("circle.lefthalf.filled"));
    EXPECT_FALSE(setting.dark());
    EXPECT_FALSE(stored().isValid()) << "reading stores nothing";
    usePalette(darkWindow);
    EXPECT_TRUE(setting.dark()) << "System follows the desktop";

    setting.setRaw(QStringLiteral("light"));
    EXPECT_EQ(stored(), QStringLiteral("light"));
    EXPECT_EQ(setting.symbolName(), QLatin1String("sun.max"));
    EXPECT_FALSE(setting.dark());
    usePalette(lightWindow);
    usePalette(darkWindow);
    setting.setRaw(QStringLiteral("light"));
    EXPECT_EQ(rawChanges, 1);
    EXPECT_EQ(darkChanges, 2) << "a forced scheme ignores the desktop";

    setting.setRaw(QStringLiteral("dark"));
    AppearanceSetting nextRun(system, &settings);
    EXPECT_EQ(nextRun.raw(), QLatin1String("dark"));
    EXPECT_EQ(nextRun.symbolName(), QLatin1String("moon"));
    EXPECT_TRUE(nextRun.dark());

    const QVariantList choices = setting.choices();
    ASSERT_EQ(choices.size(), 3);
    EXPECT_EQ(choices[1].toMap(),
              (QVariantMap{{"raw", "light"}, {"title", "Hell"}, {"symbolName", "sun.max"}}));
}

TEST_F(AppearanceSettingTest, DamagedAndUnknownValuesLoseNothingUntilTheUserChooses) {
    settings.setValue(QLatin1String(AppearanceSetting::key), QStringLiteral("blue"));
    AppearanceSetting setting(system, &settings);
    count(setting);
    EXPECT_EQ(setting.raw(), QLatin1String("system"));
    EXPECT_EQ(setting.symbolName(), QLatin1String("circle.lefthalf.filled"));

    for (const char* unknown : {"purple", "", "Dark"})
        setting.setRaw(QLatin1String(unknown));
    EXPECT_EQ(stored(), QStringLiteral("blue"));
    EXPECT_EQ(setting.raw(), QLatin1String("system"));

    setting.setRaw(QStringLiteral("system"));
    EXPECT_EQ(stored(), QStringLiteral("system")) << "the user's choice replaces the damage";
    EXPECT_EQ(rawChanges, 0) << "it was read as system all along";

    QSettings fresh(folder.filePath(QStringLiteral("fresh.conf")), QSettings::IniFormat);
    AppearanceSetting untouched(system, &fresh);
    untouched.setRaw(QStringLiteral("sepia"));
    EXPECT_FALSE(fresh.contains(QLatin1String(AppearanceSetting::key)));
}
