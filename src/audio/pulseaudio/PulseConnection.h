#pragma once

#include <pulse/pulseaudio.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

// One connection to the sound server on libpulse's threaded main loop. Every operation locks the
// loop, issues the request and waits for the answer, at most until its deadline, so a hung server
// cannot hang the caller. A request that misses its deadline ends the connection: a server that
// does not answer is treated as gone, and whoever owns the connection reconnects. Without a
// connection every operation fails at once.
class PulseConnection {
public:
    using Clock = std::chrono::steady_clock;

    struct Sink {
        std::uint32_t index = PA_INVALID_INDEX;
        std::string name;
        std::string description;
        std::map<std::string, std::string> properties;
        std::vector<std::string> portNames;
        pa_cvolume volume{};
        bool mute = false;
        std::uint32_t rate = 0;
        std::uint8_t channels = 0;
        std::uint32_t ownerModule = PA_INVALID_INDEX;
        bool suspended = false;
    };
    struct Module {
        std::uint32_t index = PA_INVALID_INDEX;
        std::string name;
        std::string argument;
    };
    struct SinkInput {
        std::uint32_t index = PA_INVALID_INDEX;
        std::uint32_t sink = PA_INVALID_INDEX;
        std::uint32_t ownerModule = PA_INVALID_INDEX;
        bool corked = false;
    };
    // devices: a sink came or went, or the server's default changed; volumes: a sink changed
    // (volume, mute, state); streams: a playback stream came, went, or was corked or uncorked;
    // lost: the connection ended, by the server or by a missed deadline; connected: a connection
    // started by startConnecting(), or one connect() gave up waiting for, is up.
    enum class Event { devices, volumes, streams, lost, connected };

    // Every request made while one lives shares its deadline, so one action of the caller waits
    // for the server at most `limit` in all. An inner budget keeps the outer one's deadline.
    class Budget {
    public:
        Budget(PulseConnection& connection, std::chrono::milliseconds limit);
        ~Budget();
        Budget(const Budget&) = delete;
        Budget& operator=(const Budget&) = delete;

    private:
        PulseConnection& m_connection;
        bool m_outermost;
    };

    // `onEvent` runs with the loop locked, on libpulse's thread or (a missed deadline) on the
    // caller's: it must only hand the event on. `timeout` bounds a request outside any budget.
    explicit PulseConnection(std::function<void(Event)> onEvent,
                             std::chrono::milliseconds timeout = std::chrono::milliseconds(1000));
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    // Connects to the server the environment names, subscribing to sink and server events.
    // Drops any earlier connection first. True once the server answered within `timeout`; a
    // server that is there but slower keeps being connected to and reports `connected` later.
    bool connect(std::chrono::milliseconds timeout);
    // Starts connecting without waiting; `connected` reports success. False when it cannot even
    // start. Drops any earlier connection first.
    bool startConnecting();
    void disconnect();
    bool isConnected();
    // A connection is under way, neither up nor failed.
    bool isConnecting();
    // No request waits past `deadline` any more, whatever its budget: the process is ending.
    void limitAllUntil(Clock::time_point deadline);

    std::vector<Sink> sinks();
    std::optional<Sink> sink(const std::string& name);
    std::optional<std::string> defaultSinkName();
    bool setDefaultSink(const std::string& name);
    bool setSinkVolume(std::uint32_t index, const pa_cvolume& volume);
    bool setSinkMute(std::uint32_t index, bool mute);
    // Suspends the sink, or lifts that suspension; its streams stay connected and stall meanwhile.
    bool suspendSink(std::uint32_t index, bool suspend);
    // The server's name: "pulseaudio", or "PulseAudio (on PipeWire …)".
    std::optional<std::string> serverName();
    std::vector<Module> modules();
    std::optional<std::uint32_t> loadModule(const std::string& name, const std::string& argument);
    bool unloadModule(std::uint32_t index);
    std::vector<SinkInput> sinkInputs();
    bool moveSinkInput(std::uint32_t input, std::uint32_t sink);
    // The server's error code of the last failed request.
    int lastError();

    // Every request's answer is awaited through one of these; see PulseConnection.cpp.
    struct Request {
        PulseConnection* connection = nullptr;
        bool done = false;
        bool ok = false;
        void finish(bool success);
    };

private:
    friend class PulseStream; // makes its streams on the context and waits like a request
    template <class Issue> bool await(Request& request, Issue issue);
    Clock::time_point requestDeadline() const;
    bool openContext(bool announceReady);
    void dropContext();
    void loseConnection();
    static void onState(pa_context* context, void* self);
    static void onSubscription(pa_context*, pa_subscription_event_type_t, std::uint32_t,
                               void* self);

    std::function<void(Event)> m_onEvent;
    std::chrono::milliseconds m_timeout;
    pa_threaded_mainloop* m_loop = nullptr;
    pa_context* m_context = nullptr;
    bool m_wasReady = false;      // only a connection that was up can be lost
    bool m_announceReady = false; // whether reaching the ready state is an event
    // Main thread only: the open budget's deadline and the one of limitAllUntil().
    std::optional<Clock::time_point> m_budgetDeadline;
    std::optional<Clock::time_point> m_finalDeadline;
};
