#pragma once

#include <string>
#include <utility>
#include <vector>

// Quoting for the argument strings of server modules, so names and descriptions with spaces,
// quotes, '=' or backslashes arrive as one value and can never add arguments of their own.
namespace moduleargs {

// One plain value, e.g. a sink name: `'...'` with backslash and tick escaped.
std::string quote(const std::string& value);

// A property-list value such as sink_properties: the server keeps this level raw and parses the
// list itself, so every value is double-quoted for the list and the whole list is ticked.
std::string quoteProperties(const std::vector<std::pair<std::string, std::string>>& properties);

} // namespace moduleargs
