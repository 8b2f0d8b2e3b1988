#pragma once

#include "PulseConnection.h"

#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// Lets the members of Brivello's multi-output device rest while nothing plays on it. Loopbacks
// that keep reading a silent monitor keep every member sink running, so the server never suspends
// them and Bluetooth devices stream silence all day.
//
// Once no uncorked stream has played on the device for `restAfter`, its sink is suspended: its
// monitor stops, each loopback corks itself and the members go idle and are suspended as any
// other sink. The loopbacks stay loaded; waking lifts the suspension, and each loopback sets its
// latency anew, so every delay is exactly what it was. That holds only for a member that is awake
// by then: a loopback that starts while its member is still waking up misses its latency by one
// block (20 ms), so suspended members are woken first, by a stream on their monitors. Nobody else
// notices: the device stays the default output with all its members.
//
// Not on PipeWire: it accepts the suspend, but the linked loopbacks start the sink again at once,
// and loopbacks unloaded and loaded again there land up to 33 ms off their delays.
//
// Lives on the main thread; update() wants every change of the server's streams.
class MultiOutputRest {
public:
    static constexpr std::chrono::milliseconds kRestAfter{3000};

    // The longest a wake waits for suspended members.
    static constexpr std::chrono::milliseconds kMembersWakeLimit{500};

    // `live`: whether the caller holds the multi-output device; `members`: the sinks it plays on.
    MultiOutputRest(PulseConnection& connection, std::function<bool()> live,
                    std::function<std::vector<std::string>()> members,
                    std::chrono::milliseconds restAfter);

    // Looks at the streams on the device: rests once it has been silent long enough, wakes as
    // soon as one plays.
    void update();
    // Ends a rest before loopbacks are added; update() lets it rest again.
    void interrupt();
    // Ends any rest without touching the server: the device is gone, rebuilt or being removed.
    void forget();

private:
    // The device's sink, when on the server; and whether an uncorked stream plays on it.
    std::optional<PulseConnection::Sink> ownSink();
    bool playsOn(const PulseConnection::Sink& own);
    void rest();
    // Wakes the members, then lifts the suspension; still resting when the server refused.
    void wake(const PulseConnection::Sink& own);

    PulseConnection& m_connection;
    std::function<bool()> m_live;
    std::function<std::vector<std::string>()> m_members;
    QTimer m_timer;
    bool m_resting = false;
};
