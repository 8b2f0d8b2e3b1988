#pragma once

#include "Zone.h"

#include <QObject>

#include <memory>
#include <optional>
#include <string>
#include <vector>

class QSettings;

// The user's zones, in the user's order, kept as one JSON value (bytes, so plist data on macOS)
// under "brivello.zones.v1". Every change rewrites the whole list; storage errors are swallowed,
// and a damaged stored value reads as an empty list but stays in place until the next change
// replaces it. Loaded once; the settings are never forced to disk here.
class ZoneStore : public QObject {
    Q_OBJECT
public:
    // Without `settings` the application's own settings are used (the user defaults on macOS,
    // ~/.config/tandrel/brivello.conf on Linux). `settings` is not owned.
    explicit ZoneStore(QSettings* settings = nullptr, QObject* parent = nullptr);
    ~ZoneStore() override;

    const std::vector<Zone>& zones() const { return m_zones; }

    void add(std::string name, std::vector<std::string> deviceUIDs);
    // Removes every zone with that id; writes the list back even when none matched.
    void remove(const Zone& zone);
    // The following change the first zone with the argument's id; an unknown zone is ignored.
    void rename(const Zone& zone, std::string name);
    void setDevices(std::vector<std::string> deviceUIDs, const Zone& zone);
    void setHotKey(std::optional<HotKeyCombo> combo, const Zone& zone);

    // The QSettings key of the list. QSettings on macOS writes '/' in a key as '.' (and '.' as a
    // middle dot) into the user defaults, so there the slashed spelling is what lands under the
    // defaults key "brivello.zones.v1", where NSUserDefaults' dataForKey: finds it.
#ifdef Q_OS_DARWIN
    static constexpr const char* key = "brivello/zones/v1";
#else
    static constexpr const char* key = "brivello.zones.v1";
#endif

signals:
    // Once per operation, after the list changed.
    void zonesChanged();

private:
    void load();
    void persist();
    Zone* find(const Zone& zone);
    void changed();

    std::unique_ptr<QSettings> m_ownSettings;
    QSettings* m_settings;
    std::vector<Zone> m_zones;
};
