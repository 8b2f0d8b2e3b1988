#pragma once

#include "HotKeyBackend.h"
#include "HotKeyCombo.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

// System-wide hot keys: keeps, per registration, the platform's reference and the action to
// run, and turns the platform's hot-key events back into actions. Main thread only.
class HotKeyCenter {
public:
    // The one instance of the process. Give it its platform backend at start; without one every
    // registration is refused.
    static HotKeyCenter& shared();

    explicit HotKeyCenter(std::unique_ptr<HotKeyBackend> backend = nullptr);
    HotKeyCenter(const HotKeyCenter&) = delete;
    HotKeyCenter& operator=(const HotKeyCenter&) = delete;

    // Drops the registrations made with the previous backend.
    void setBackend(std::unique_ptr<HotKeyBackend> backend);

    // Registers the combination and answers 0 when it is live, else the platform's refusal
    // (HotKeyBackend::eventHotKeyExistsErr: something else holds it). A refusal uses up the id
    // and leaves nothing registered.
    HotKeyBackend::Status registerHotKey(const HotKeyCombo& combo, std::function<void()> action);
    void unregisterAll();

    // The ids of the live registrations, ascending.
    std::vector<std::uint32_t> registeredIDs() const;

private:
    void installHandler();
    HotKeyBackend::Status handle(HotKeyID id);

    std::unique_ptr<HotKeyBackend> m_backend;
    std::map<std::uint32_t, std::function<void()>> m_actions;
    std::map<std::uint32_t, HotKeyBackend::Ref> m_refs;
    std::uint32_t m_nextID = 1; // only grows: an old event can never reach a newer registration
    bool m_handlerInstalled = false;
};

// The Carbon modifier mask of a key event's modifier flags (NSEvent encoding): command, option,
// control and shift; every other flag is ignored.
std::uint32_t carbonModifiers(std::uint64_t flags);

// The first four bytes of the UTF-8 text packed into one number, the first byte highest.
std::uint32_t fourCharCode(std::string_view text);
