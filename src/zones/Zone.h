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
};
