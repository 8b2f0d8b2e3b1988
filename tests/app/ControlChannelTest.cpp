#include "ControlClient.h"
#include "ControlMessage.h"
#include "ControlServer.h"
#include "SingleInstance.h"

#include <QFile>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <future>

// The running Brivello's side of the channel takes exactly one well-formed request per
// connection; anything else closes that connection and reaches nothing, and a silent or hostile
// caller does not keep others waiting.

namespace {

// What the running side sent back before it closed; empty when it closed without a word.
QByteArray exchange(const QString& path, const QByteArray& bytes) {
    QLocalSocket socket;
    socket.connectToServer(path);
    if (!socket.waitForConnected(1000))
        return "not connected";
    socket.write(bytes);
    QByteArray received;
    (void)QTest::qWaitFor(
        [&] {
            received += socket.readAll();
            return socket.state() == QLocalSocket::UnconnectedState;
        },
        3000);
    return received + socket.readAll();
}

} // namespace

TEST(ControlChannel, OneWellFormedRequestPerConnectionAndNothingElseGetsThrough) {
    QTemporaryDir runtime;
    SingleInstance first(runtime.path());
    SingleInstance second(runtime.path());
    using Claim = SingleInstance::Claim;
    ASSERT_EQ(first.claim(), Claim::won);
    EXPECT_EQ(second.claim(), Claim::taken) << "one holder at a time";
    first.release();
    ASSERT_EQ(second.claim(), Claim::won);
    EXPECT_EQ(SingleInstance(runtime.filePath("missing")).claim(), Claim::impossible);

    // A file left where the socket goes, as after a crash, is replaced.
    QFile stale(second.socketPath());
    ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
    stale.close();
    std::vector<ControlRequest> carriedOut;
    ControlServer server([&](const ControlRequest& request) {
        carriedOut.push_back(request);
        return ControlReply{0, "an: " + request.zone + "\n", {}};
    });
    ASSERT_TRUE(server.listen(second.socketPath()));
    const QString path = second.socketPath();

    QLocalSocket silent; // connected and saying nothing, all along
    silent.connectToServer(path);
    ASSERT_TRUE(silent.waitForConnected(1000));

    EXPECT_EQ(exchange(path, "hallo\n"), "");
    EXPECT_EQ(exchange(path, QByteArray(kMaxRequestBytes + 10, '{')), "") << "too long";
    EXPECT_EQ(exchange(path, R"({"command":"off"})"
                             "\n"
                             R"({"command":"off"})"
                             "\n"),
              "")
        << "a second request in the same connection";
    EXPECT_EQ(exchange(path, R"({"command":"off","force":true})"
                             "\n"),
              "")
        << "a member this Brivello does not know";
    EXPECT_EQ(exchange(path, "{\"command\":\"on\",\"zone\":\"\xff\"}\n"), "") << "not UTF-8";
    EXPECT_TRUE(carriedOut.empty());

    const QByteArray answer = exchange(path, R"({"command":"on","zone":"Büro \"Eck\""})"
                                             "\n");
    const auto reply = parseControlReply(answer.trimmed().toStdString());
    ASSERT_TRUE(reply) << answer.constData();
    EXPECT_EQ(reply->out, "an: Büro \"Eck\"\n");
    ASSERT_EQ(carriedOut.size(), 1u);

    // The blocking client of a later start, from another thread as from another process.
    const ControlRequest status{ControlRequest::Command::status, {}, true};
    auto later =
        std::async(std::launch::async, [&] { return sendControlRequest(path, status, 1000); });
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return later.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
        5000));
    EXPECT_TRUE(later.get());
    ASSERT_EQ(carriedOut.size(), 2u);
    EXPECT_EQ(carriedOut[1], status);
    EXPECT_EQ(silent.state(), QLocalSocket::ConnectedState) << "still waited for, within its time";
}

TEST(ControlChannel, RequestsCrossTheWireUnchangedAndMalformedOnesAreRefused) {
    using Command = ControlRequest::Command;
    for (const ControlRequest& request :
         {ControlRequest{Command::raise, {}, false},
          ControlRequest{Command::zone, "Küche ✓", false},
          ControlRequest{Command::on, "a \"b\" \\ c", false},
          ControlRequest{Command::list, {}, true}, ControlRequest{Command::status, {}, false},
          ControlRequest{Command::quit, {}, false}})
        EXPECT_EQ(parseControlRequest(encodeControlRequest(request)), request);

    for (const char* refused : {
             R"([])",
             R"({"command":"zone"})",
             R"({"command":"zone","zone":""})",
             R"({"command":"zone","zone":7})",
             R"({"command":"list"})",
             R"({"command":"list","json":"yes"})",
             R"({"command":"off","json":false})",
             R"({"command":"reboot"})",
             R"({"command":"off"} {"command":"off"})",
         })
        EXPECT_FALSE(parseControlRequest(refused)) << refused;
    EXPECT_FALSE(parseControlRequest(R"({"command":"on","zone":")" +
                                     std::string(kMaxZoneNameBytes + 1, 'x') + R"("})"));
    EXPECT_FALSE(parseControlReply(R"({"exit":300,"out":"","err":""})"));
}
