#pragma once

#include <cstdint>
#include <functional>

// The two 32-bit fields by which the platform names a hot key (Carbon's HotKeyID).
struct HotKeyID {
    std::uint32_t signature = 0;
    std::uint32_t id = 0;
};

// The platform's global hot-key service, in the shape of the Carbon event manager's calls:
// macOS uses Carbon itself, Linux grabs keys on the X server, tests use a stand-in.
class HotKeyBackend {
public:
    using Status = std::int32_t; // 0 (noErr) on success
    using Ref = std::uintptr_t;  // EventHotKeyRef; 0 is no reference
    // Receives the pressed hot key's id and returns the status the platform's event handler
    // reports: 0 when it was Brivello's, kNotHandled to pass it on.
    using Handler = std::function<Status(HotKeyID)>;
    static constexpr Status kNotHandled = -9874; // eventNotHandledErr

    // Carbon's answers, which every backend gives so the bookkeeping reads the same everywhere.
    // "Exists": the system or another application already holds the combination.
    static constexpr Status eventHotKeyExistsErr = -9878;
    static constexpr Status eventHotKeyInvalidErr = -9879;

    virtual ~HotKeyBackend() = default;

    // InstallEventHandler on the application target for hot-key-pressed events.
    virtual Status installEventHandler(Handler handler) = 0;
    // RegisterEventHotKey: `modifiers` is the Carbon mask, `keyCode` the macOS virtual key code.
    virtual Status registerEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers, HotKeyID id,
                                       Ref& outRef) = 0;
    // UnregisterEventHotKey.
    virtual Status unregisterEventHotKey(Ref ref) = 0;
};
