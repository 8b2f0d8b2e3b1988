#include "PrivateDesktopTest.h"
#include "ZoneStore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>

// The command line drives the running Brivello from a shell: zones switch by name (quotes and
// Unicode as typed) or by id, scripts read JSON, and every refusal has its exit code and changes
// nothing. One Brivello per user: a second start hands over, and a killed one blocks nothing.

namespace {

const QString kOffice = QString::fromUtf8("Büro \"Eck\" ✓");

class CommandLineEndToEnd : public PrivateDesktopTest {
protected:
    void SetUp() override {
        PrivateDesktopTest::SetUp();
        if (HasFatalFailure())
            return;
        QSettings settings(settingsFile(), QSettings::IniFormat);
        ZoneStore zones(&settings);
        zones.add(kOffice.toStdString(), {"usb_dac", "builtin_speakers"});
        zones.add("Garten", {"garden_speaker"}); // never connected
    }

    QJsonDocument json(const QStringList& arguments) {
        return QJsonDocument::fromJson(command(arguments).out.toUtf8());
    }
    bool running() { return command({"--status"}).exitCode == 0; }
    bool routedToOffice() { return routedTo({"usb_dac", "builtin_speakers"}); }
};

} // namespace

TEST_F(CommandLineEndToEnd, ZonesSwitchFromTheShellWithExitCodesAScriptCanRelyOn) {
    EXPECT_EQ(command({"--status"}).exitCode, 3) << "no Brivello to ask yet";
    startBrivello();
    ASSERT_TRUE(waitUntil([this] { return running(); }));

    const QJsonArray zones = json({"--list", "--json"}).array();
    ASSERT_EQ(zones.size(), 2);
    EXPECT_EQ(zones[0]["name"].toString(), kOffice);
    EXPECT_TRUE(zones[0]["available"].toBool());
    EXPECT_FALSE(zones[1]["available"].toBool());
    const QString officeID = zones[0]["id"].toString().toLower();

    const auto on = command({"--on", kOffice});
    EXPECT_EQ(on.exitCode, 0) << qPrintable(on.err);
    EXPECT_TRUE(routedToOffice());
    EXPECT_EQ(command({"--on", kOffice}).exitCode, 0) << "on stays on";
    EXPECT_TRUE(routedToOffice());
    const QJsonObject status = json({"--status", "--json"}).object();
    EXPECT_TRUE(status["active"].toBool());
    EXPECT_EQ(status["zone"]["name"].toString(), kOffice);
    EXPECT_EQ(status["devices"].toArray().size(), 2);
    EXPECT_TRUE(command({"--list"}).out.startsWith("* " + kOffice + "\t2 Geräte\t–\n"));

    EXPECT_EQ(command({"--zone", kOffice}).exitCode, 0);
    EXPECT_TRUE(restored()) << "the zone's second switch turns it off, as its hot key would";
    EXPECT_EQ(command({"--zone", officeID}).exitCode, 0);
    EXPECT_TRUE(routedToOffice()) << "by id";
    EXPECT_EQ(command({"--off"}).exitCode, 0);
    EXPECT_TRUE(restored());
    EXPECT_EQ(command({"--off"}).exitCode, 0) << "off stays off";
    EXPECT_EQ(command({"--status"}).out, QString::fromUtf8("Nicht aktiv.\n"));

    // Refusals say why and change nothing.
    const auto unknown = command({"--on", QString::fromUtf8("Büro")});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_EQ(unknown.err, QString::fromUtf8("brivello: keine Zone „Büro“.\n"));
    EXPECT_EQ(command({"--zone", "Garten"}).exitCode, 1) << "none of its devices is there";
    EXPECT_EQ(command({"--list", "--zone", "Garten"}).exitCode, 2);
    EXPECT_EQ(command({"--json"}).exitCode, 2);
    EXPECT_EQ(command({"--zone"}).exitCode, 2);
    EXPECT_TRUE(restored());

    EXPECT_EQ(command({"--on", kOffice}).exitCode, 0);
    EXPECT_EQ(command({"--quit"}).exitCode, 0);
    ASSERT_TRUE(brivello.waitForFinished(10000));
    EXPECT_EQ(brivello.exitCode(), 0);
    EXPECT_TRUE(restored()) << "quitting switches off first";
}

TEST_F(CommandLineEndToEnd, OneBrivelloPerUserWhenStartedTwiceAtOnceOrAfterAKill) {
    QProcess second;
    second.setProcessEnvironment(environment);
    startBrivello();
    second.start(QStringLiteral(BRIVELLO_PROGRAM), {});
    ASSERT_TRUE(brivello.waitForStarted() && second.waitForStarted());
    ASSERT_TRUE(
        waitUntil([&] { return brivello.waitForFinished(0) || second.waitForFinished(0); }, 20000));
    QProcess& gone = brivello.state() == QProcess::Running ? second : brivello;
    QProcess& kept = &gone == &brivello ? second : brivello;
    EXPECT_EQ(gone.exitCode(), 0) << "handed over";
    ASSERT_FALSE(kept.waitForFinished(1500)) << "exactly one stays";
    EXPECT_TRUE(running());

    // Killed, it leaves its lock and socket files; neither blocks what comes next.
    ::kill(pid_t(kept.processId()), SIGKILL);
    kept.waitForFinished();
    EXPECT_EQ(command({"--status"}).exitCode, 3);
    const auto on = command({"--zone", kOffice});
    EXPECT_EQ(on.exitCode, 0) << "starts Brivello in the background: " << qPrintable(on.err);
    EXPECT_TRUE(routedToOffice());
    EXPECT_EQ(command({"--quit"}).exitCode, 0);
    EXPECT_TRUE(waitUntil([this] { return !running(); }));
    EXPECT_TRUE(restored());
}
