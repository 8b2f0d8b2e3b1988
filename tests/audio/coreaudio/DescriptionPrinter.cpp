#include "DescriptionPrinter.h"

namespace coreaudio {

namespace {

struct Describer {
    std::string operator()(const std::string& text) const { return '"' + text + '"'; }
    std::string operator()(std::int64_t number) const { return std::to_string(number); }
    std::string operator()(const DescriptionArray& array) const {
        std::string result = "[";
        for (const auto& element : array)
            result += (result.size() > 1 ? ", " : "") + describe(element);
        return result + "]";
    }
    std::string operator()(const DescriptionDictionary& dictionary) const {
        std::string result = "{";
        for (const auto& entry : dictionary)
            result += (result.size() > 1 ? ", " : "") + entry.key + ": " + describe(entry.value);
        return result + "}";
    }
};

} // namespace

std::string describe(const DescriptionValue& value) {
    return std::visit(Describer{}, value.value);
}

void PrintTo(const DescriptionValue& value, std::ostream* out) {
    *out << describe(value);
}

void PrintTo(const DescriptionEntry& entry, std::ostream* out) {
    *out << entry.key << ": " << describe(entry.value);
}

} // namespace coreaudio
