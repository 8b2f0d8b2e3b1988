#pragma once

#include "Zone.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The stored form of a zone list: one compact JSON array, members in a fixed order, ids in
// Apple's uppercase UUID text so a list moves between a Mac and a Linux machine unchanged.
std::string encodeZones(const std::vector<Zone>& zones);

// Strict: one missing or mistyped member, bad UUID or out-of-range number anywhere makes the
// whole list unreadable. A null "hotKey" means none; unknown members are ignored.
std::optional<std::vector<Zone>> decodeZones(std::string_view json);
