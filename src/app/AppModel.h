#pragma once

#include "MultiOutputController.h"
#include "ZoneStore.h"

#include <QObject>
#include <QUuid>

#include <set>
#include <vector>

class AudioSystem;
class QSettings;
struct Zone;

// Owns the controller and the zone store for the life of the process and keeps the global hot
// keys in step with the zones: every change of the zone list re-registers all of them.
class AppModel : public QObject {
    Q_OBJECT
public:
    // `audio` must outlive the model; `settings` (optional, not owned) replaces the user's
    // settings, for tests.
    explicit AppModel(AudioSystem& audio, QSettings* settings = nullptr, QObject* parent = nullptr);

    MultiOutputController& controller() { return m_controller; }
    ZoneStore& zones() { return m_zones; }
    // The zones whose hot key cannot work because the system or another application holds the
    // combination. They keep it; a zone sharing an earlier zone's combination is not among them.
    const std::set<QUuid>& zonesWithTakenHotKey() const { return m_takenHotKeys; }

signals:
    void takenHotKeysChanged();

private:
    void syncHotKeys(const std::vector<Zone>& zones);

    MultiOutputController m_controller;
    ZoneStore m_zones;
    std::set<QUuid> m_takenHotKeys;
};
