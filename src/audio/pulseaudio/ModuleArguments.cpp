#include "ModuleArguments.h"

namespace moduleargs {
namespace {

std::string escaped(const std::string& value, char quoteChar) {
    std::string out;
    out.reserve(value.size() + 2);
    for (char c : value) {
        if (c == '\\' || c == quoteChar)
            out += '\\';
        out += c;
    }
    return out;
}

} // namespace

std::string quote(const std::string& value) {
    return "'" + escaped(value, '\'') + "'";
}

std::string quoteProperties(const std::vector<std::pair<std::string, std::string>>& properties) {
    std::string list;
    for (const auto& [key, value] : properties) {
        if (!list.empty())
            list += ' ';
        list += key + "=\"" + escaped(value, '"') + "\"";
    }
    // The outer level is kept raw for the list parser: only its ticks need a backslash, which
    // the list parser then drops inside its double quotes. Backslashes stay as they are.
    std::string outer = "'";
    for (char c : list) {
        if (c == '\'')
            outer += '\\';
        outer += c;
    }
    return outer + "'";
}

} // namespace moduleargs
