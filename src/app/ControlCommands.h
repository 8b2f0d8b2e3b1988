#pragma once

#include "ControlRequest.h"

#include <QUuid>

#include <functional>

class AppModel;
struct Zone;

// Carries out what the command line asks of the running Brivello, on its controller and zones,
// and words the answer: German text for people, JSON for scripts.
class ControlCommands {
public:
    // `raiseWindow` brings the main window to the front; `quit` ends Brivello once the answer is
    // out. `model` must outlive this object.
    ControlCommands(AppModel& model, std::function<void()> raiseWindow, std::function<void()> quit);

    ControlReply run(const ControlRequest& request);

private:
    ControlReply switchZone(const std::string& nameOrID, bool toggle);
    ControlReply switchOff();
    ControlReply listZones(bool json) const;
    ControlReply listDevices(bool json) const;
    ControlReply status(bool json) const;
    // By name first (the user's order decides between equal names), then by id.
    const Zone* findZone(const std::string& nameOrID) const;
    const Zone* zoneWithID(const QUuid& id) const;

    AppModel& m_model;
    std::function<void()> m_raiseWindow;
    std::function<void()> m_quit;
};
