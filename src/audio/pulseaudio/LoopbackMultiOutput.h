#pragma once

#include "PulseConnection.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

// Brivello's multi-output device on the server: a null sink, whose monitor each member sink plays
// through a loopback of its own. The loopback's latency carries the member's delay, and its
// adaptive resampling holds the member to the null sink's clock.
//
// Builds it, completes it, tells which members really play, and removes it again, in the orders
// PulseAudio 16 survives. Holds no device of its own: the caller keeps the recipe.
class LoopbackMultiOutput {
public:
    using Sink = PulseConnection::Sink;

    static constexpr const char* kSinkName = "de.tandrel.brivello.multioutput";
    static constexpr const char* kDescription = "Brivello Multi-Output";
    // The loopback latency that every member's delay is added to.
    static constexpr double kBaseLatencyMs = 60.0;
    // Set on the null sink and on every loopback, so leftovers are found by it.
    static constexpr const char* kMarkerProperty = "de.tandrel.brivello.role";
    // Set on the null sink: the default it stands in for, so that even the start after a crash
    // gives the user's own default back rather than whatever sink comes first.
    static constexpr const char* kPreviousDefaultProperty = "de.tandrel.brivello.previous-default";

    // What the device is made of, by sink name, so it can be made again.
    struct Recipe {
        std::vector<std::string> memberUIDs;
        std::map<std::string, double> extraLatencyMs;
    };

    explicit LoopbackMultiOutput(PulseConnection& connection) : m_connection(connection) {}

    static bool isOwnName(const std::string& name);
    static bool isOwnSink(const Sink& sink);

    // Loads the null sink, running at the highest member rate, and a loopback per present member,
    // after naming a real sink the default. The null sink; absent when the server refused a
    // module or no member plays. A member whose loopback the server drops is left out.
    std::optional<Sink> build(const Recipe& recipe);
    // The recipe's members among `sinks` that no loopback of Brivello's plays into.
    std::vector<Sink> missingMembers(const Recipe& recipe, const std::vector<Sink>& sinks);
    // Gives each of `members` a loopback into `own`; false when the server refused one.
    bool completeLoopbacks(const Recipe& recipe, const Sink& own, const std::vector<Sink>& members);
    // The recipe's members that a loopback of Brivello's plays into right now, in recipe order.
    std::vector<std::string> playingMembers(const Recipe& recipe);
    // Whether anything of Brivello's, sink or loopback, is on the server.
    bool anyLeft();
    // Removes every sink and loopback of Brivello's.
    void removeAll();
    // Default back, streams moved off, loopbacks unloaded, then the sinks: never the reverse.
    void remove(const std::vector<Sink>& own);
    // A real sink became the default (not Brivello's): the one to give back later.
    void rememberRealDefault(const std::string& name) { m_realDefault = name; }

private:
    struct Loopback {
        std::uint32_t module;
        std::uint32_t sink; // the member's index
    };
    // Loads the member's loopback; its module, absent when the server refused it.
    std::optional<std::uint32_t> loadLoopback(const Recipe& recipe, const Sink& own,
                                              const Sink& member);
    // Waits briefly until each loopback's stream plays into its member (PipeWire links them a
    // moment after answering) and unloads those that do not; how many play.
    int keepPlaying(std::vector<Loopback> loopbacks);
    // The real sink the default output belongs on while Brivello's sink comes or goes.
    std::string realDefault(const std::vector<Sink>& sinks);

    PulseConnection& m_connection;
    std::string m_realDefault; // the default output the multi-output device stands in for
};
