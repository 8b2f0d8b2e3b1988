#include <QProcess>

#include <gtest/gtest.h>

#include <csignal>

// Ctrl-C, kill and logout must end like a quit: the previous default output back, no
// multi-output device left behind, and a normal exit. Under nohup a logout must not end it.
TEST(SignalTeardown, EveryStopSignalEndsInTheCleanTeardownAndAnIgnoredHangUpStaysIgnored) {
    for (int signal : {SIGTERM, SIGINT, SIGHUP, 0}) {
        SCOPED_TRACE(signal ? strsignal(signal) : "SIGHUP ignored, then SIGTERM");
        QProcess child;
        // Whatever the test runner ignores, the child starts as a desktop session would start it.
        child.setChildProcessModifier(
            [signal] { ::signal(signal ? signal : SIGHUP, signal ? SIG_DFL : SIG_IGN); });
        child.start(QStringLiteral(SIGNAL_TEARDOWN_CHILD), {});
        ASSERT_TRUE(child.waitForReadyRead(20000));
        EXPECT_EQ(child.readLine().trimmed(), "ready active=1 default-is-speakers=0");

        const auto pid = static_cast<pid_t>(child.processId());
        if (signal == 0) {
            ::kill(pid, SIGHUP);
            EXPECT_FALSE(child.waitForFinished(500));
        }
        ::kill(pid, signal ? signal : SIGTERM);
        ASSERT_TRUE(child.waitForFinished(20000));
        EXPECT_EQ(child.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(child.exitCode(), 0);
        EXPECT_EQ(child.readAll().trimmed(), "ended active=0 default-is-speakers=1 devices=2");
    }
}
