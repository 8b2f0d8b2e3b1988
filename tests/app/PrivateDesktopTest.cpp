#include "PrivateDesktopTest.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QThread>

#include <cstdio>

bool waitUntil(const std::function<bool()>& done, int milliseconds) {
    for (QDeadlineTimer deadline(milliseconds); !done(); QThread::msleep(50))
        if (deadline.hasExpired())
            return false;
    return true;
}

void PrivateDesktopTest::SetUp() {
    // Xvfb writes the display number it picked once it accepts clients.
    xvfb.start(QStringLiteral("Xvfb"),
               {"-displayfd", "1", "-nolisten", "tcp", "-screen", "0", "1280x1024x24"});
    ASSERT_TRUE(xvfb.waitForReadyRead(10000));
    display = ':' + QString::fromLatin1(xvfb.readLine()).trimmed();
    x = xcb_connect(display.toLatin1().constData(), nullptr);
    ASSERT_FALSE(xcb_connection_has_error(x));
    // The server's client environment is set in this process, so brivello inherits it.
    ASSERT_TRUE(sound.start());
    environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), display);
    environment.insert(QStringLiteral("HOME"), folder.path());
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), folder.filePath("config"));
    // Under the sanitizers brivello's exit would count what libdbus, Qt Quick and Mesa keep for
    // the whole process, in stacks LeakSanitizer cannot read; Brivello's own code is leak-checked
    // by the tests that run it in-process. Every other check of the sanitizers stays on.
    environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0"));
    originalDefault = sound.defaultSink();
}

void PrivateDesktopTest::TearDown() {
    // The last picture shows what the window did instead.
    if (HasFailure() && last) {
        const QString path = QDir::temp().filePath(
            QStringLiteral("brivello-%1-%2.png")
                .arg(QString::fromLatin1(
                    testing::UnitTest::GetInstance()->current_test_info()->name()))
                .arg(QCoreApplication::applicationPid()));
        if (last->save(path))
            std::fprintf(stderr, "the window's last picture: %s\n", qPrintable(path));
    }
    // Xvfb is asked to end, so it removes its lock file.
    for (QProcess* process : {&brivello, &xvfb}) {
        process->terminate();
        process->waitForFinished();
    }
    if (x)
        xcb_disconnect(x);
    x = nullptr;
}

void PrivateDesktopTest::startBrivello(QProcess::ProcessChannelMode channels) {
    brivello.setProcessEnvironment(environment);
    brivello.setProcessChannelMode(channels);
    brivello.start(QStringLiteral(BRIVELLO_PROGRAM), {});
}

QString PrivateDesktopTest::xdotool(const QStringList& arguments) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral("xdotool"), arguments);
    process.waitForFinished();
    return QString::fromLatin1(process.readAllStandardOutput()).trimmed();
}

void PrivateDesktopTest::endSplash(const QString& window) {
    xdotool({"mousemove", "--window", window, "100", "30", "click", "1"});
    QThread::msleep(700);
}
