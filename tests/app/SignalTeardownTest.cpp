#include <QProcess>

#include <gtest/gtest.h>

#include <csignal>

// Ctrl-C, kill and logout must end like a quit: the previous default output back, no
// multi-output device left behind, and a normal exit.
TEST(SignalTeardown, EveryStopSignalEndsInTheSameCleanTeardownAsQuitting) {
    for (int signal : {SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE(strsignal(signal));
        QProcess child;
        // Whatever the test runner ignores, the child starts as a desktop session would start it.
        child.setChildProcessModifier([signal] { ::signal(signal, SIG_DFL); });
        child.start(QStringLiteral(SIGNAL_TEARDOWN_CHILD), {});
        ASSERT_TRUE(child.waitForStarted());
        ASSERT_TRUE(child.waitForReadyRead(20000));
        EXPECT_EQ(child.readLine().trimmed(), "ready active=1 default-is-speakers=0");

        ::kill(static_cast<pid_t>(child.processId()), signal);
        ASSERT_TRUE(child.waitForFinished(20000));
        EXPECT_EQ(child.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(child.exitCode(), 0);
        EXPECT_EQ(child.readAll().trimmed(), "ended active=0 default-is-speakers=1 leftovers=0");
    }
}

// Under nohup a logout must not end Brivello; the other stop signals still do, cleanly.
TEST(SignalTeardown, AHangUpIgnoredFromTheStartStaysIgnored) {
    QProcess child;
    child.setChildProcessModifier([] { ::signal(SIGHUP, SIG_IGN); });
    child.start(QStringLiteral(SIGNAL_TEARDOWN_CHILD), {});
    ASSERT_TRUE(child.waitForStarted());
    ASSERT_TRUE(child.waitForReadyRead(20000));
    child.readLine();

    ::kill(static_cast<pid_t>(child.processId()), SIGHUP);
    EXPECT_FALSE(child.waitForFinished(500));
    ::kill(static_cast<pid_t>(child.processId()), SIGTERM);
    ASSERT_TRUE(child.waitForFinished(20000));
    EXPECT_EQ(child.readAll().trimmed(), "ended active=0 default-is-speakers=1 leftovers=0");
}
