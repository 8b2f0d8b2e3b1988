#pragma once

#include "HotKeyBackend.h"

#include <map>
#include <optional>
#include <set>
#include <utility>

// The Carbon event manager's hot-key calls in memory: a combination can be registered once
// (again, or when the system holds it, Carbon answers eventHotKeyExistsErr), references are
// opaque and die with UnregisterEventHotKey, and a key press reaches the one installed handler
// with the registration's id.
class CarbonStandIn : public HotKeyBackend {
public:
    static constexpr Status eventHotKeyExistsErr = -9878;
    static constexpr Status eventHotKeyInvalidErr = -9879;

    Status installEventHandler(Handler handler) override {
        ++installations;
        if (installStatus != 0)
            return installStatus;
        m_handler = std::move(handler);
        return 0;
    }

    Status registerEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers, HotKeyID id,
                               Ref& outRef) override {
        outRef = 0;
        const Combination combination{keyCode, modifiers};
        if (takenElsewhere.contains(combination))
            return eventHotKeyExistsErr;
        for (const auto& [ref, registration] : m_registrations)
            if (registration.first == combination)
                return eventHotKeyExistsErr;
        outRef = m_nextRef++;
        m_registrations[outRef] = {combination, id};
        return 0;
    }

    Status unregisterEventHotKey(Ref ref) override {
        return m_registrations.erase(ref) ? 0 : eventHotKeyInvalidErr;
    }

    // The user presses a combination: the handler runs if Carbon knows it. The handler's status,
    // or absent when no event was sent.
    std::optional<Status> press(std::uint32_t keyCode, std::uint32_t modifiers) {
        for (const auto& [ref, registration] : m_registrations)
            if (registration.first == Combination{keyCode, modifiers})
                return send(registration.second);
        return std::nullopt;
    }

    // An event carrying any id, for example one that was unregistered a moment ago.
    std::optional<Status> send(HotKeyID id) {
        if (!m_handler)
            return std::nullopt;
        return m_handler(id);
    }

    std::size_t registrationCount() const { return m_registrations.size(); }

    using Combination = std::pair<std::uint32_t, std::uint32_t>;
    std::set<Combination> takenElsewhere; // held by the system or another application
    int installations = 0;
    Status installStatus = 0; // what InstallEventHandler answers

private:
    Handler m_handler;
    std::map<Ref, std::pair<Combination, HotKeyID>> m_registrations;
    Ref m_nextRef = 0x1000;
};
