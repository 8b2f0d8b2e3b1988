#pragma once

#include "AudioSystem.h"
#include "LoopbackMultiOutput.h"
#include "MultiOutputRest.h"
#include "PulseConnection.h"
#include "SinkIDs.h"

#include <QObject>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <memory>

// The audio system on a PulseAudio server or PipeWire's pipewire-pulse, through libpulse.
//
// Device ids stay with sink names (see SinkIDs); uids are sink names. The multi-output device is
// a LoopbackMultiOutput; while nothing plays on it, its members rest (MultiOutputRest).
//
// Lives on the main thread, which needs a running Qt event loop: server events, reconnects and
// repairs arrive through it. No call waits for the server longer than kActionBudget in all; a
// server that does not answer in time counts as gone, is connected to again in the background
// and, once back, finds nothing of Brivello's that the controller no longer holds.
class PulseAudioSystem : public AudioSystem {
public:
    // Connects to the server the environment names (the user's own, normally). Without a server
    // there are no devices; a timer keeps trying to reconnect. The multi-output device's members
    // rest once nothing has played on it for `restAfter`.
    explicit PulseAudioSystem(std::chrono::milliseconds restAfter = MultiOutputRest::kRestAfter);
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
    // The test tone and the meters make their streams on it; they end with every reconnect.
    PulseConnection& connection() { return m_connection; }

    static constexpr const char* kSinkName = LoopbackMultiOutput::kSinkName;
    static constexpr const char* kDescription = LoopbackMultiOutput::kDescription;
    static constexpr const char* kMarkerProperty = LoopbackMultiOutput::kMarkerProperty;
    // The longest the main thread waits for the server in one call, and in all once the
    // application is quitting.
    static constexpr std::chrono::milliseconds kActionBudget{800};
    static constexpr std::chrono::milliseconds kQuitBudget{1500};
    // A repair of the multi-output device that failed is tried again after 1 s, then after twice
    // as long each time, up to the ceiling.
    static constexpr std::chrono::milliseconds kFirstRetry{1000};
    static constexpr std::chrono::milliseconds kLongestRetry{32000};

    static bool isOwnSink(const PulseConnection::Sink& sink) {
        return LoopbackMultiOutput::isOwnSink(sink);
    }

private:
    std::optional<PulseConnection::Sink> sinkOf(AudioDeviceID device);
    [[nodiscard]] PulseConnection::Budget budget() { return {m_connection, kActionBudget}; }

    // libpulse's thread: hands the event to the main thread.
    void onServerEvent(PulseConnection::Event event);
    void onDevicesChanged();
    void onConnectionLost();
    void onConnected();
    void tryReconnect();
    // While the controller holds the multi-output device, keeps it whole: after a server restart
    // it comes back, and a member that returns plays again. A failed repair waits for its retry.
    void heal();
    bool repair();
    void forgetMultiOutput();
    // Offers every sink whose volume or mute differs from when it was last seen to the volume
    // listener.
    void publishVolumeChanges();

    std::unique_ptr<QObject> m_mainThread; // receives the hops from libpulse's thread
    QTimer m_reconnectTimer;
    QTimer m_retryTimer;
    std::chrono::milliseconds m_retryDelay = kFirstRetry;
    std::function<void()> m_listener;
    std::function<void(AudioDeviceID)> m_volumeListener;
    std::atomic<bool> m_devicesPending{false};
    std::atomic<bool> m_volumesPending{false};
    std::atomic<bool> m_streamsPending{false};
    SinkIDs m_ids;
    std::map<std::string, pa_cvolume> m_balances; // per sink name, while its volume is at 0
    // Per sink name: the volume and mute last offered to the volume listener.
    std::map<std::string, std::pair<pa_volume_t, bool>> m_seenVolumes;
    // The multi-output device as last created, while the controller holds it.
    std::optional<LoopbackMultiOutput::Recipe> m_liveMultiOutput;
    PulseConnection m_connection;
    LoopbackMultiOutput m_multiOutput{m_connection};
    MultiOutputRest m_rest;
};
