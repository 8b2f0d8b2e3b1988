#pragma once

#include "HotKeyCombo.h"

#include <QUuid>

#include <optional>
#include <string>
#include <vector>

// A named, saved set of output devices, named by their persistent UIDs.
struct Zone {
    QUuid id;
    std::string name;
    std::vector<std::string> deviceUIDs;
    std::optional<HotKeyCombo> hotKey;

    bool operator==(const Zone&) const = default;

    // A new zone: a fresh random id and no hot key.
    static Zone make(std::string name, std::vector<std::string> deviceUIDs);
};

template <> struct std::hash<HotKeyCombo> {
    std::size_t operator()(const HotKeyCombo& combo) const noexcept;
};

template <> struct std::hash<Zone> { std::size_t operator()(const Zone& zone) const noexcept; };
