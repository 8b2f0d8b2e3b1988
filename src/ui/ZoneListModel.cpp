#include "ZoneListModel.h"

#include "KeyedRows.h"

#include "AppModel.h"
#include "Zone.h"

#include <algorithm>

ZoneListModel::ZoneListModel(AppModel& app, QObject* parent)
    : QAbstractListModel(parent), m_app(app), m_rows(currentRows()),
      m_canSaveSelection(canSaveSelection()) {
    auto& controller = m_app.controller();
    for (auto signal :
         {&MultiOutputController::devicesChanged, &MultiOutputController::activeZoneIDChanged,
          &MultiOutputController::isActiveChanged})
        connect(&controller, signal, this, &ZoneListModel::sync);
    connect(&m_app.zones(), &ZoneStore::zonesChanged, this, [this] {
        sync();
        emit proposedNameChanged();
    });
    connect(&m_app, &AppModel::takenHotKeysChanged, this, &ZoneListModel::sync);
    connect(&controller, &MultiOutputController::selectedChanged, this, [this] {
        if (canSaveSelection() != m_canSaveSelection) {
            m_canSaveSelection = canSaveSelection();
            emit canSaveSelectionChanged();
        }
    });
}

QString ZoneListModel::trimmedName(const QString& name) {
    const auto blank = [](QChar c) {
        // White space that does not break the line: what a user types around a name by accident.
        return c.isSpace() && c != u'\n' && c != u'\r' && c != u'\v' && c != u'\f' &&
               c != QChar(0x85) && c != QChar(0x2028) && c != QChar(0x2029);
    };
    qsizetype begin = 0;
    qsizetype end = name.size();
    while (begin < end && blank(name[begin]))
        ++begin;
    while (end > begin && blank(name[end - 1]))
        --end;
    return name.mid(begin, end - begin);
}

std::vector<ZoneListModel::Row> ZoneListModel::currentRows() const {
    const auto& zones = m_app.zones().zones();
    const auto& controller = m_app.controller();
    const auto& activeZone = controller.activeZoneID();
    std::vector<Row> rows;
    rows.reserve(zones.size());
    for (const auto& zone : zones) {
        Row row;
        row.id = zone.id;
        row.name = QString::fromStdString(zone.name);
        row.deviceCount = static_cast<int>(zone.deviceUIDs.size());
        if (zone.hotKey) {
            row.hotKeyText = QString::fromStdString(zone.hotKey->display);
            row.hotKeyTaken = m_app.zonesWithTakenHotKey().contains(zone.id);
            auto other = std::find_if(zones.begin(), zones.end(), [&zone](const Zone& z) {
                return z.id != zone.id && z.hotKey && z.hotKey->keyCode == zone.hotKey->keyCode &&
                       z.hotKey->modifiers == zone.hotKey->modifiers;
            });
            if (other != zones.end())
                row.hotKeySharedWith = QString::fromStdString(other->name);
        }
        row.active = activeZone && *activeZone == zone.id;
        row.available = controller.zoneIsAvailable(zone);
        rows.push_back(std::move(row));
    }
    return rows;
}

int ZoneListModel::rowOf(const QUuid& id) const {
    return KeyedRows::indexOf(m_rows, id, rowKey);
}

void ZoneListModel::sync() {
    const auto target = currentRows();
    KeyedRows::syncMembership(*this, m_rows, target, rowKey);

    // Same ids in the same order now: announce each row's changed roles only.
    for (std::size_t i = 0; i < target.size(); ++i) {
        const Row& before = m_rows[i];
        const Row& after = target[i];
        if (before == after)
            continue;
        QList<int> roles;
        if (before.name != after.name)
            roles << NameRole;
        if (before.deviceCount != after.deviceCount)
            roles << DeviceCountRole;
        if (before.hotKeyText != after.hotKeyText)
            roles << HotKeyTextRole;
        if (before.active != after.active)
            roles << ActiveRole;
        if (before.available != after.available)
            roles << AvailableRole;
        if (before.hotKeyTaken != after.hotKeyTaken)
            roles << HotKeyTakenRole;
        if (before.hotKeySharedWith != after.hotKeySharedWith)
            roles << HotKeySharedWithRole;
        m_rows[i] = after;
        const auto changed = index(static_cast<int>(i));
        emit dataChanged(changed, changed, roles);
    }
}

int ZoneListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant ZoneListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row& row = m_rows[static_cast<std::size_t>(index.row())];
    switch (role) {
    case IdRole:
        return row.id.toString(QUuid::WithoutBraces);
    case Qt::DisplayRole:
    case NameRole:
        return row.name;
    case DeviceCountRole:
        return row.deviceCount;
    case HotKeyTextRole:
        return row.hotKeyText;
    case ActiveRole:
        return row.active;
    case AvailableRole:
        return row.available;
    case HotKeyTakenRole:
        return row.hotKeyTaken;
    case HotKeySharedWithRole:
        return row.hotKeySharedWith;
    default:
        return {};
    }
}

QHash<int, QByteArray> ZoneListModel::roleNames() const {
    return {{IdRole, "zoneId"},
            {NameRole, "name"},
            {DeviceCountRole, "deviceCount"},
            {HotKeyTextRole, "hotKeyText"},
            {ActiveRole, "active"},
            {AvailableRole, "available"},
            {HotKeyTakenRole, "hotKeyTaken"},
            {HotKeySharedWithRole, "hotKeySharedWith"}};
}

bool ZoneListModel::canSaveSelection() const {
    return !m_app.controller().selected().empty();
}

QString ZoneListModel::proposedName() const {
    // Counts the zones, not the names in use: after a deletion the offer may repeat a name.
    return QStringLiteral("Zone %1").arg(m_app.zones().zones().size() + 1);
}

std::optional<Zone> ZoneListModel::zone(const QString& id) const {
    const QUuid uuid(id);
    const auto& zones = m_app.zones().zones();
    auto it = std::find_if(zones.begin(), zones.end(),
                           [&uuid](const Zone& z) { return !uuid.isNull() && z.id == uuid; });
    return it == zones.end() ? std::nullopt : std::optional(*it);
}

bool ZoneListModel::addZone(const QString& name) {
    const QString trimmed = trimmedName(name);
    if (trimmed.isEmpty())
        return false;
    m_app.zones().add(trimmed.toStdString(), m_app.controller().selectedUIDs());
    return true;
}

bool ZoneListModel::rename(const QString& id, const QString& name) {
    const QString trimmed = trimmedName(name);
    const auto found = zone(id);
    if (trimmed.isEmpty() || !found)
        return false;
    m_app.zones().rename(*found, trimmed.toStdString());
    return true;
}

void ZoneListModel::saveSelection(const QString& id) {
    if (const auto found = zone(id); found && canSaveSelection())
        m_app.zones().setDevices(m_app.controller().selectedUIDs(), *found);
}

void ZoneListModel::remove(const QString& id) {
    // Called from the row's own menu: the row and its menu go with the zone, so the removal waits
    // until the menu's handler has returned.
    QMetaObject::invokeMethod(
        this,
        [this, id] {
            if (const auto found = zone(id))
                m_app.zones().remove(*found);
        },
        Qt::QueuedConnection);
}

void ZoneListModel::activate(const QString& id) {
    if (const auto found = zone(id))
        m_app.controller().activateZone(*found);
}

void ZoneListModel::setHotKey(const QString& id, quint32 keyCode, quint32 modifiers,
                              const QString& display) {
    if (const auto found = zone(id))
        m_app.zones().setHotKey(HotKeyCombo{keyCode, modifiers, display.toStdString()}, *found);
}

void ZoneListModel::clearHotKey(const QString& id) {
    if (const auto found = zone(id))
        m_app.zones().setHotKey(std::nullopt, *found);
}
