#pragma once

#include "AudioSystem.h"
#include "PulseConnection.h"
#include "SinkIDs.h"

#include <QObject>
#include <QTimer>

#include <atomic>
#include <memory>

// The audio system on a PulseAudio server or PipeWire's pipewire-pulse, through libpulse.
//
// Device ids stay with sink names (see SinkIDs); uids are sink names. The multi-output device is a
// null sink, and each member device plays its monitor through its own loopback, whose latency
// carries that device's delay and whose adaptive resampling holds the device to the null sink's
// clock.
//
// Lives on the main thread, which needs a running Qt event loop: server events and reconnects
// arrive through it.
class PulseAudioSystem : public AudioSystem {
public:
    // Connects to the server the environment names (the user's own, normally). Without a server
    // there are no devices; a timer keeps trying to reconnect.
    PulseAudioSystem();
    ~PulseAudioSystem() override;

    std::vector<AudioOutputDevice> outputDevices() override;
    std::optional<float> volume(AudioDeviceID device) override;
    bool setVolume(float volume, AudioDeviceID device) override;
    double commonSampleRate(const std::vector<AudioDeviceID>& devices) override;
    std::optional<AudioDeviceID>
    createMultiOutput(const std::vector<AudioOutputDevice>& devices, const std::string& masterUID,
                      const std::map<std::string, double>& extraLatencyMs) override;
    std::vector<std::string> multiOutputMembers() override;
    void destroyExistingMultiOutput() override;
    void removeDevice(AudioDeviceID device) override;
    AudioDeviceID defaultOutputDevice() override;
    std::int32_t setDefaultOutputDevice(AudioDeviceID device) override;
    void unmute(AudioDeviceID device) override;
    void setDeviceListListener(std::function<void()> listener) override;
    void setVolumeListener(std::function<void(AudioDeviceID)> listener) override;

    bool isConnected() { return m_connection.isConnected(); }

    // The multi-output device's sink name and description, and the loopback latency that every
    // device's delay is added to.
    static constexpr const char* kSinkName = "de.tandrel.brivello.multioutput";
    static constexpr const char* kDescription = "Brivello Multi-Output";
    static constexpr double kBaseLatencyMs = 60.0;
    // Set on the multi-output sink and on every loopback, so leftovers are found by it.
    static constexpr const char* kMarkerProperty = "de.tandrel.brivello.role";
    // Set on the multi-output sink: the default it stands in for, so that even the start after a
    // crash gives the user's own default back rather than whatever sink comes first.
    static constexpr const char* kPreviousDefaultProperty = "de.tandrel.brivello.previous-default";

    static bool isOwnSink(const PulseConnection::Sink& sink);

private:
    // What the multi-output device is made of, by sink name, so it can be made again.
    struct MultiOutputRecipe {
        std::vector<std::string> memberUIDs;
        std::map<std::string, double> extraLatencyMs;
        double rate; // the null sink's, set when it is built
    };

    std::optional<PulseConnection::Sink> sinkOf(AudioDeviceID device);
    // Loads the null sink and a loopback per present member; the null sink, absent on failure.
    std::optional<PulseConnection::Sink> build(MultiOutputRecipe& recipe);
    // Whether a loopback of the multi-output device plays on the sink named `uid`.
    static bool hasLoopback(const std::vector<PulseConnection::Module>& modules,
                            const std::string& uid);
    bool loadLoopback(const MultiOutputRecipe& recipe, const PulseConnection::Sink& ownSink,
                      const PulseConnection::Sink& member);
    // While the controller holds the multi-output device, keeps it whole: after a server restart
    // it comes back, and a member that returns plays again.
    void heal();
    void onServerEvent(PulseConnection::Event event);
    void notifyListener();
    void tryReconnect();
    // The real sink the default output belongs on while Brivello's sink comes or goes.
    std::string realDefault(const std::vector<PulseConnection::Sink>& sinks);
    // Default back, streams moved off, loopbacks unloaded, then the sinks: never the reverse.
    void removeOwnSinks(const std::vector<PulseConnection::Sink>& own);

    std::unique_ptr<QObject> m_mainThread; // receives the hops from libpulse's thread
    QTimer m_reconnectTimer;
    std::function<void()> m_listener;
    std::function<void(AudioDeviceID)> m_volumeListener;
    std::atomic<bool> m_changePending{false};
    std::string m_realDefault; // the default output the multi-output device stands in for
    SinkIDs m_ids;
    std::map<std::string, pa_cvolume> m_balances; // per sink name, while its volume is at 0
    // The multi-output device as last created, while it is meant to exist.
    std::optional<MultiOutputRecipe> m_liveMultiOutput;
    PulseConnection m_connection;
};
