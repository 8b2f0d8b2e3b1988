#include "ControlMessage.h"

#include <nlohmann/json.hpp>

#include <array>
#include <utility>

using Json = nlohmann::json;

namespace {

using Command = ControlRequest::Command;

constexpr std::array<std::pair<Command, std::string_view>, 8> kCommandNames{{
    {Command::raise, "raise"},
    {Command::zone, "zone"},
    {Command::on, "on"},
    {Command::off, "off"},
    {Command::list, "list"},
    {Command::devices, "devices"},
    {Command::status, "status"},
    {Command::quit, "quit"},
}};

bool takesZone(Command command) {
    return command == Command::zone || command == Command::on;
}

bool takesJson(Command command) {
    return command == Command::list || command == Command::devices || command == Command::status;
}

// The object in one line, or null for anything else (a parse error, a second value, bad UTF-8).
Json parseObject(std::string_view line, std::size_t limit) {
    if (line.size() > limit || line.find('\n') != std::string_view::npos)
        return nullptr;
    Json value = Json::parse(line.begin(), line.end(), nullptr, false);
    return value.is_object() ? value : Json(nullptr);
}

} // namespace

std::string encodeControlRequest(const ControlRequest& request) {
    Json message = Json::object();
    for (const auto& [command, name] : kCommandNames)
        if (command == request.command)
            message["command"] = name;
    if (takesZone(request.command))
        message["zone"] = request.zone;
    if (takesJson(request.command))
        message["json"] = request.json;
    // Names come from the command line: bytes that are not UTF-8 become U+FFFD instead of
    // making the encoder throw.
    return message.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<ControlRequest> parseControlRequest(std::string_view line) {
    const Json message = parseObject(line, kMaxRequestBytes);
    if (!message.is_object() || !message.contains("command") || !message["command"].is_string())
        return std::nullopt;
    ControlRequest request;
    const auto& name = message["command"].get_ref<const std::string&>();
    bool known = false;
    for (const auto& [command, commandName] : kCommandNames)
        if (name == commandName) {
            request.command = command;
            known = true;
        }
    if (!known)
        return std::nullopt;
    std::size_t expected = 1;
    if (takesZone(request.command)) {
        const auto zone = message.find("zone");
        if (zone == message.end() || !zone->is_string())
            return std::nullopt;
        request.zone = zone->get<std::string>();
        if (request.zone.empty() || request.zone.size() > kMaxZoneNameBytes)
            return std::nullopt;
        ++expected;
    }
    if (takesJson(request.command)) {
        const auto json = message.find("json");
        if (json == message.end() || !json->is_boolean())
            return std::nullopt;
        request.json = json->get<bool>();
        ++expected;
    }
    // A member this Brivello does not know could change what the sender meant.
    if (message.size() != expected)
        return std::nullopt;
    return request;
}

std::string encodeControlReply(const ControlReply& reply) {
    const Json message{{"exit", reply.exitCode}, {"out", reply.out}, {"err", reply.err}};
    return message.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<ControlReply> parseControlReply(std::string_view line) {
    const Json message = parseObject(line, kMaxReplyBytes);
    if (message.size() != 3 || !message.contains("exit") || !message["exit"].is_number_integer() ||
        !message.contains("out") || !message["out"].is_string() || !message.contains("err") ||
        !message["err"].is_string())
        return std::nullopt;
    const auto exitCode = message["exit"].get<std::int64_t>();
    if (exitCode < 0 || exitCode > 255)
        return std::nullopt;
    return ControlReply{static_cast<int>(exitCode), message["out"].get<std::string>(),
                        message["err"].get<std::string>()};
}
