#include "PrivateDesktopTest.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QThread>

#include <algorithm>
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
    // One Brivello per user means one per runtime directory: each test has its own.
    QDir(folder.path()).mkdir(QStringLiteral("runtime"));
    QFile::setPermissions(folder.filePath("runtime"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), folder.filePath("runtime"));
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

PrivateDesktopTest::Command PrivateDesktopTest::command(const QStringList& arguments) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(BRIVELLO_PROGRAM), arguments);
    if (!process.waitForFinished(30000))
        return {};
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

bool PrivateDesktopTest::routedTo(const QStringList& present, const QStringList& absent) {
    if (!QString::fromStdString(sound.defaultSink()).contains("brivello", Qt::CaseInsensitive))
        return false;
    // One loopback per member device feeds it from Brivello's sink. Loopbacks name their sink by
    // index, and their streams belong to no client ("-").
    QStringList fedSinks;
    const auto sinks = sound.list("sinks");
    for (const auto& input : sound.list("sink-inputs"))
        for (const auto& sink : sinks)
            if (input.section('\t', 2, 2) == "-" &&
                sink.section('\t', 0, 0) == input.section('\t', 1, 1))
                fedSinks << sink.section('\t', 1, 1);
    auto fed = [&fedSinks](const QString& sink) { return fedSinks.contains(sink); };
    return std::ranges::all_of(present, fed) && std::ranges::none_of(absent, fed);
}

bool PrivateDesktopTest::restored() {
    return sound.defaultSink() == originalDefault &&
           !sound.pactl({"list", "short", "sinks"}).contains("brivello", Qt::CaseInsensitive) &&
           !sound.pactl({"list", "short", "modules"}).contains("brivello");
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
