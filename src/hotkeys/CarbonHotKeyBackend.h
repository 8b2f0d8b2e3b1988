#pragma once

#include "HotKeyBackend.h"

// The Carbon event manager's hot keys, on the application event target. macOS only.
class CarbonHotKeyBackend : public HotKeyBackend {
public:
    CarbonHotKeyBackend() = default;
    // Carbon keeps a pointer to the handler: the handler leaves with the backend.
    ~CarbonHotKeyBackend() override;
    CarbonHotKeyBackend(const CarbonHotKeyBackend&) = delete;
    CarbonHotKeyBackend& operator=(const CarbonHotKeyBackend&) = delete;

    Status installEventHandler(Handler handler) override;
    Status registerEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers, HotKeyID id,
                               Ref& outRef) override;
    Status unregisterEventHotKey(Ref ref) override;

private:
    Handler m_handler;
    void* m_installed = nullptr; // the EventHandlerRef
};
