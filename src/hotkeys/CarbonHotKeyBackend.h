#pragma once

#include "HotKeyBackend.h"

// The Carbon event manager's hot keys, on the application event target. macOS only.
class CarbonHotKeyBackend : public HotKeyBackend {
public:
    Status installEventHandler(Handler handler) override;
    Status registerEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers, HotKeyID id,
                               Ref& outRef) override;
    Status unregisterEventHotKey(Ref ref) override;

private:
    Handler m_handler;
};
