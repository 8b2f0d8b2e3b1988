#pragma once

#include <string>

// What a second start of Brivello asks the running one to do.
struct ControlRequest {
    enum class Command {
        raise,   // a plain start: bring the window to the front
        zone,    // switch the zone on, or off when it is the active one
        on,      // switch the zone on; already on is done
        off,     // switch the multi-output device off; already off is done
        list,    // the zones
        devices, // the output devices
        status,  // active or not, which zone, which devices
        quit,    // switch off and end, as "Brivello beenden" does
    };

    Command command = Command::raise;
    std::string zone;  // the zone's name or id, for zone and on
    bool json = false; // machine-readable output, for list, devices and status

    bool operator==(const ControlRequest&) const = default;
};

// The running Brivello's answer: what the caller prints and the exit code it ends with.
struct ControlReply {
    int exitCode = 0;
    std::string out; // for standard output
    std::string err; // for standard error

    bool operator==(const ControlReply&) const = default;
};

// Exit codes a script can rely on.
namespace ExitCode {
inline constexpr int done = 0;
inline constexpr int zoneUnavailable = 1; // unknown zone, or none of its devices present
inline constexpr int usage = 2;
inline constexpr int notRunning = 3;
inline constexpr int refused = 4; // the sound system did not switch
} // namespace ExitCode
