#include "ControlCommands.h"

#include "AppModel.h"
#include "Zone.h"

#include <nlohmann/json.hpp>

#include <algorithm>

using Json = nlohmann::ordered_json;

namespace {

std::string quoted(const std::string& name) {
    return "„" + name + "“";
}

ControlReply failure(int exitCode, const std::string& message) {
    return {exitCode, {}, "brivello: " + message + "\n"};
}

std::string idText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper().toStdString();
}

std::string countText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " Gerät" : " Geräte");
}

ControlReply jsonReply(const Json& value) {
    return {ExitCode::done, value.dump(2, ' ', false, Json::error_handler_t::replace) + "\n", {}};
}

} // namespace

ControlCommands::ControlCommands(AppModel& model, std::function<void()> raiseWindow,
                                 std::function<void()> quit)
    : m_model(model), m_raiseWindow(std::move(raiseWindow)), m_quit(std::move(quit)) {}

ControlReply ControlCommands::run(const ControlRequest& request) {
    using Command = ControlRequest::Command;
    switch (request.command) {
    case Command::raise:
        m_raiseWindow();
        return {};
    case Command::zone:
        return switchZone(request.zone, true);
    case Command::on:
        return switchZone(request.zone, false);
    case Command::off:
        return switchOff();
    case Command::list:
        return listZones(request.json);
    case Command::devices:
        return listDevices(request.json);
    case Command::status:
        return status(request.json);
    case Command::quit:
        m_quit();
        return {ExitCode::done, "Brivello wird beendet.\n", {}};
    }
    return {};
}

const Zone* ControlCommands::findZone(const std::string& nameOrID) const {
    const auto& zones = m_model.zones().zones();
    auto it = std::find_if(zones.begin(), zones.end(),
                           [&](const Zone& zone) { return zone.name == nameOrID; });
    return it != zones.end() ? &*it
                             : zoneWithID(QUuid::fromString(QString::fromStdString(nameOrID)));
}

const Zone* ControlCommands::zoneWithID(const QUuid& id) const {
    const auto& zones = m_model.zones().zones();
    auto it = std::find_if(zones.begin(), zones.end(),
                           [&](const Zone& zone) { return !id.isNull() && zone.id == id; });
    return it == zones.end() ? nullptr : &*it;
}

ControlReply ControlCommands::switchZone(const std::string& nameOrID, bool toggle) {
    auto& controller = m_model.controller();
    const Zone* found = findZone(nameOrID);
    if (!found)
        return failure(ExitCode::zoneUnavailable, "keine Zone " + quoted(nameOrID) + ".");
    // A copy: switching may change the zone list's storage while it runs.
    const Zone zone = *found;
    const bool wasOn = controller.isActive() && controller.activeZoneID() == zone.id;
    if (wasOn && !toggle)
        return {ExitCode::done, "Zone " + quoted(zone.name) + " ist schon aktiv.\n", {}};
    if (!wasOn && !controller.zoneIsAvailable(zone))
        return failure(ExitCode::zoneUnavailable,
                       "Zone " + quoted(zone.name) + ": keines ihrer Geräte ist angeschlossen.");
    controller.activateZone(zone);
    if (wasOn)
        return controller.isActive()
                   ? failure(ExitCode::refused, "Brivello konnte nicht ausschalten.")
                   : ControlReply{
                         ExitCode::done, "Zone " + quoted(zone.name) + " ist ausgeschaltet.\n", {}};
    if (controller.isActive() && controller.activeZoneID() == zone.id)
        return {ExitCode::done,
                "Zone " + quoted(zone.name) +
                    " ist aktiv: " + countText(controller.selected().size()) + ".\n",
                {}};
    const auto message = controller.statusMessage();
    return failure(ExitCode::refused,
                   "Zone " + quoted(zone.name) + " konnte nicht eingeschaltet werden" +
                       (message ? ": " + message->toStdString() : std::string(".")));
}

ControlReply ControlCommands::switchOff() {
    auto& controller = m_model.controller();
    if (!controller.isActive())
        return {ExitCode::done, "Brivello war nicht aktiv.\n", {}};
    controller.deactivate();
    if (controller.isActive())
        return failure(ExitCode::refused, "Brivello konnte nicht ausschalten.");
    return {ExitCode::done, "Brivello ist ausgeschaltet.\n", {}};
}

ControlReply ControlCommands::listZones(bool json) const {
    const auto& controller = m_model.controller();
    Json list = Json::array();
    std::string text;
    for (const auto& zone : m_model.zones().zones()) {
        const bool active = controller.isActive() && controller.activeZoneID() == zone.id;
        if (json) {
            list.push_back({{"id", idText(zone.id)},
                            {"name", zone.name},
                            {"devices", zone.deviceUIDs},
                            {"hotKey", zone.hotKey ? Json(zone.hotKey->display) : Json(nullptr)},
                            {"available", controller.zoneIsAvailable(zone)},
                            {"active", active}});
        } else {
            text += std::string(active ? "* " : "  ") + zone.name + '\t' +
                    countText(zone.deviceUIDs.size()) + '\t' +
                    (zone.hotKey ? zone.hotKey->display : std::string("–")) + '\n';
        }
    }
    if (!json && text.empty())
        return {ExitCode::done, {}, "Noch keine Zonen. Lege sie im Fenster an.\n"};
    return json ? jsonReply(list) : ControlReply{ExitCode::done, text, {}};
}

ControlReply ControlCommands::listDevices(bool json) const {
    const auto& controller = m_model.controller();
    Json list = Json::array();
    std::string text;
    for (const auto& device : controller.devices()) {
        const bool playing = controller.isActive() && controller.selected().contains(device.id);
        if (json) {
            list.push_back({{"uid", device.uid},
                            {"name", device.name},
                            {"kind", label(device.transport)},
                            {"playing", playing}});
        } else {
            text += std::string(playing ? "* " : "  ") + device.name + '\t' + device.uid + '\t' +
                    label(device.transport) + '\n';
        }
    }
    return json ? jsonReply(list) : ControlReply{ExitCode::done, text, {}};
}

ControlReply ControlCommands::status(bool json) const {
    const auto& controller = m_model.controller();
    const bool active = controller.isActive();
    const Zone* zone = nullptr;
    if (active && controller.activeZoneID())
        zone = zoneWithID(*controller.activeZoneID());
    const auto playing = active ? controller.selectedDevices() : std::vector<AudioOutputDevice>{};
    if (json) {
        Json devices = Json::array();
        for (const auto& device : playing)
            devices.push_back({{"uid", device.uid}, {"name", device.name}});
        return jsonReply(
            {{"active", active},
             {"zone", zone ? Json{{"id", idText(zone->id)}, {"name", zone->name}} : Json(nullptr)},
             {"devices", devices}});
    }
    if (!active)
        return {ExitCode::done, "Nicht aktiv.\n", {}};
    std::string text = zone ? "Aktiv – Zone " + quoted(zone->name) + ", " : "Aktiv – ";
    text += countText(playing.size()) + ":\n";
    for (const auto& device : playing)
        text += "  " + device.name + '\t' + device.uid + '\n';
    return {ExitCode::done, text, {}};
}
