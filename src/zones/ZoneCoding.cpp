#include "ZoneCoding.h"

#include <nlohmann/json.hpp>

#include <cctype>
#include <cmath>
#include <cstdint>
#include <limits>

using Json = nlohmann::ordered_json;

namespace {

std::string uuidText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper().toStdString();
}

// Exactly the 8-4-4-4-12 hexadecimal form, either case; no braces, no other spellings.
std::optional<QUuid> parseUuid(const std::string& text) {
    if (text.size() != 36)
        return std::nullopt;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (hyphen ? c != '-' : !std::isxdigit(c))
            return std::nullopt;
    }
    return QUuid::fromString(QString::fromStdString(text));
}

std::optional<std::uint32_t> parseUInt32(const Json& value) {
    if (value.is_number_unsigned()) {
        const auto number = value.get<std::uint64_t>();
        if (number <= std::numeric_limits<std::uint32_t>::max())
            return static_cast<std::uint32_t>(number);
    } else if (value.is_number_integer()) {
        const auto number = value.get<std::int64_t>();
        if (number >= 0 && number <= std::numeric_limits<std::uint32_t>::max())
            return static_cast<std::uint32_t>(number);
    } else if (value.is_number_float()) {
        const double number = value.get<double>();
        if (number >= 0 && number <= std::numeric_limits<std::uint32_t>::max() &&
            std::trunc(number) == number)
            return static_cast<std::uint32_t>(number);
    }
    return std::nullopt;
}

const Json* member(const Json& object, const char* key) {
    auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

std::optional<HotKeyCombo> decodeCombo(const Json& object) {
    if (!object.is_object())
        return std::nullopt;
    const auto* keyCode = member(object, "keyCode");
    const auto* modifiers = member(object, "modifiers");
    const auto* display = member(object, "display");
    if (!keyCode || !modifiers || !display || !display->is_string())
        return std::nullopt;
    auto code = parseUInt32(*keyCode);
    auto mask = parseUInt32(*modifiers);
    if (!code || !mask)
        return std::nullopt;
    return HotKeyCombo{*code, *mask, display->get<std::string>()};
}

std::optional<Zone> decodeZone(const Json& object) {
    if (!object.is_object())
        return std::nullopt;
    const auto* id = member(object, "id");
    const auto* name = member(object, "name");
    const auto* uids = member(object, "deviceUIDs");
    if (!id || !id->is_string() || !name || !name->is_string() || !uids || !uids->is_array())
        return std::nullopt;
    auto uuid = parseUuid(id->get<std::string>());
    if (!uuid)
        return std::nullopt;
    Zone zone{*uuid, name->get<std::string>(), {}, std::nullopt};
    for (const auto& uid : *uids) {
        if (!uid.is_string())
            return std::nullopt;
        zone.deviceUIDs.push_back(uid.get<std::string>());
    }
    if (const auto* hotKey = member(object, "hotKey"); hotKey && !hotKey->is_null()) {
        zone.hotKey = decodeCombo(*hotKey);
        if (!zone.hotKey)
            return std::nullopt;
    }
    return zone;
}

} // namespace

std::string encodeZones(const std::vector<Zone>& zones) {
    Json list = Json::array();
    for (const auto& zone : zones) {
        Json object;
        object["id"] = uuidText(zone.id);
        object["name"] = zone.name;
        object["deviceUIDs"] = zone.deviceUIDs;
        if (zone.hotKey) {
            Json combo;
            combo["keyCode"] = zone.hotKey->keyCode;
            combo["modifiers"] = zone.hotKey->modifiers;
            combo["display"] = zone.hotKey->display;
            object["hotKey"] = std::move(combo);
        }
        list.push_back(std::move(object));
    }
    // Invalid UTF-8 in a name is replaced rather than thrown on: storing must never fail.
    const std::string compact = list.dump(-1, ' ', false, Json::error_handler_t::replace);
    // Foundation's JSON encoder writes "/" as "\/"; the stored bytes are the same on every
    // platform. Outside strings JSON has no "/", so every one of them is inside one.
    std::string escaped;
    escaped.reserve(compact.size());
    for (const char c : compact) {
        if (c == '/')
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

std::optional<std::vector<Zone>> decodeZones(std::string_view json) {
    const Json list = Json::parse(json.begin(), json.end(), nullptr, false);
    if (list.is_discarded() || !list.is_array())
        return std::nullopt;
    std::vector<Zone> zones;
    for (const auto& element : list) {
        auto zone = decodeZone(element);
        if (!zone)
            return std::nullopt;
        zones.push_back(std::move(*zone));
    }
    return zones;
}
