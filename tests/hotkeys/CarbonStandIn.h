#pragma once

#include "HotKeyBackend.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

// The Carbon event manager's hot-key calls in memory: a combination held by the system, another
// application or an earlier registration is refused with eventHotKeyExistsErr, and a key press
// reaches the one installed handler with the registration's id; the handler says whether it took
// the event.
class CarbonStandIn : public HotKeyBackend {
public:
    using Combination = std::pair<std::uint32_t, std::uint32_t>;

    Status installEventHandler(Handler handler) override {
        ++installations;
        m_handler = std::move(handler);
        return 0;
    }
    Status registerEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers, HotKeyID id,
                               Ref& outRef) override {
        outRef = 0;
        // Carbon refuses a combination this application has registered already, too.
        const bool ownAlready =
            std::any_of(m_registrations.begin(), m_registrations.end(), [&](const auto& entry) {
                return entry.second.first == Combination{keyCode, modifiers};
            });
        if (takenElsewhere.contains({keyCode, modifiers}) || ownAlready)
            return eventHotKeyExistsErr;
        outRef = m_nextRef++;
        m_registrations[outRef] = {{keyCode, modifiers}, id};
        return 0;
    }
    Status unregisterEventHotKey(Ref ref) override {
        return m_registrations.erase(ref) ? 0 : eventHotKeyInvalidErr;
    }

    void press(std::uint32_t keyCode, std::uint32_t modifiers) {
        for (const auto& [ref, registration] : m_registrations)
            if (registration.first == Combination{keyCode, modifiers})
                send(registration.second);
    }
    // An event carrying any id, for example one that was refused or another application's; the
    // handler's status.
    Status send(HotKeyID id) { return m_handler ? m_handler(id) : kNotHandled; }
    std::size_t registrationCount() const { return m_registrations.size(); }

    std::set<Combination> takenElsewhere;
    int installations = 0;

private:
    Handler m_handler;
    std::map<Ref, std::pair<Combination, HotKeyID>> m_registrations;
    Ref m_nextRef = 0x1000;
};
