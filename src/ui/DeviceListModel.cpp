#include "DeviceListModel.h"

#include "KeyedRows.h"

#include "LevelSource.h"
#include "MultiOutputController.h"

#include <algorithm>
#include <limits>

DeviceListModel::DeviceListModel(MultiOutputController& controller, LevelSource* levels,
                                 QObject* parent)
    : QAbstractListModel(parent), m_controller(controller), m_levels(levels),
      m_rows(currentRows()) {
    if (m_levels)
        connect(m_levels, &LevelSource::levelChanged, this, &DeviceListModel::onLevelChanged);
    for (auto signal :
         {&MultiOutputController::devicesChanged, &MultiOutputController::selectedChanged,
          &MultiOutputController::isActiveChanged, &MultiOutputController::volumesChanged,
          &MultiOutputController::delaysMsChanged})
        connect(&m_controller, signal, this, &DeviceListModel::sync);
}

QString DeviceListModel::transportSymbol(AudioOutputDevice::Transport transport) {
    using T = AudioOutputDevice::Transport;
    switch (transport) {
    case T::bluetooth:
        return QStringLiteral("wave.3.right");
    case T::usb:
        return QStringLiteral("cable.connector");
    case T::builtIn:
        return QStringLiteral("laptopcomputer");
    case T::hdmi:
    case T::displayPort:
        return QStringLiteral("display");
    case T::airPlay:
        return QStringLiteral("airplayaudio");
    case T::thunderbolt:
        return QStringLiteral("bolt.horizontal");
    case T::aggregate:
        return QStringLiteral("rectangle.3.group");
    case T::virtual_:
        return QStringLiteral("waveform");
    case T::pci:
    case T::other:
        break;
    }
    return QStringLiteral("hifispeaker");
}

namespace {

// A volume is a 32-bit float; widened bit for bit, 0.7 would read as 0.69999998… and show "69%".
// Its value to the digits a float holds for sure is what the user set. (std::to_chars for floats
// is missing from the macOS releases Brivello runs on.)
double asDecimal(float value) {
    return QString::number(static_cast<double>(value), 'g', std::numeric_limits<float>::digits10)
        .toDouble();
}

} // namespace

std::vector<DeviceListModel::Row> DeviceListModel::currentRows() const {
    const auto& selected = m_controller.selected();
    const auto& volumes = m_controller.volumes();
    const auto& delays = m_controller.delaysMs();
    std::vector<Row> rows;
    rows.reserve(m_controller.devices().size());
    for (const auto& device : m_controller.devices()) {
        Row row{device};
        row.selected = selected.contains(device.id);
        // A device the controller has no settings for yet plays at full volume, undelayed.
        if (auto v = volumes.find(device.id); v != volumes.end())
            row.volume = asDecimal(v->second);
        if (auto d = delays.find(device.id); d != delays.end())
            row.delayMs = d->second;
        row.meterActive = row.selected && m_controller.isActive();
        if (m_levels)
            row.meterLevel = m_levels->level(device.uid);
        rows.push_back(std::move(row));
    }
    return rows;
}

int DeviceListModel::rowOf(AudioDeviceID id) const {
    return KeyedRows::indexOf(m_rows, id, rowKey);
}

void DeviceListModel::setMetersShown(bool shown) {
    if (m_metersShown == shown)
        return;
    m_metersShown = shown;
    emit metersShownChanged();
    watchLevels();
}

void DeviceListModel::watchLevels() {
    if (!m_levels)
        return;
    std::set<std::string> wanted;
    if (m_metersShown)
        for (const auto& row : m_rows)
            if (row.meterActive)
                wanted.insert(row.device.uid);
    if (wanted == m_watched)
        return;
    m_watched = wanted;
    m_levels->watch(wanted);
}

void DeviceListModel::onLevelChanged(const std::string& uid) {
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        Row& row = m_rows[i];
        if (row.device.uid != uid)
            continue;
        const double level = m_levels->level(uid);
        if (row.meterLevel == level)
            return;
        row.meterLevel = level;
        const auto changed = index(static_cast<int>(i));
        emit dataChanged(changed, changed, {MeterLevelRole});
        return;
    }
}

void DeviceListModel::sync() {
    const auto target = currentRows();
    KeyedRows::syncMembership(*this, m_rows, target, rowKey);

    // Same ids in the same order now: announce each row's changed roles only.
    for (std::size_t i = 0; i < target.size(); ++i) {
        const Row& before = m_rows[i];
        const Row& after = target[i];
        if (before == after)
            continue;
        QList<int> roles;
        if (before.device.uid != after.device.uid)
            roles << UidRole;
        if (before.device.name != after.device.name)
            roles << NameRole;
        if (before.device.transport != after.device.transport)
            roles << TransportLabelRole << TransportIconRole;
        if (before.selected != after.selected)
            roles << SelectedRole;
        if (before.volume != after.volume)
            roles << VolumeRole;
        if (before.delayMs != after.delayMs)
            roles << DelayMsRole;
        if (before.meterActive != after.meterActive)
            roles << MeterActiveRole;
        if (before.meterLevel != after.meterLevel)
            roles << MeterLevelRole;
        m_rows[i] = after;
        const auto changed = index(static_cast<int>(i));
        emit dataChanged(changed, changed, roles);
    }
    watchLevels();
}

int DeviceListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant DeviceListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row& row = m_rows[static_cast<std::size_t>(index.row())];
    switch (role) {
    case IdRole:
        return QVariant::fromValue<quint32>(row.device.id);
    case UidRole:
        return QString::fromStdString(row.device.uid);
    case Qt::DisplayRole:
    case NameRole:
        return QString::fromStdString(row.device.name);
    case TransportLabelRole:
        return QString::fromUtf8(label(row.device.transport));
    case TransportIconRole:
        return transportSymbol(row.device.transport);
    case SelectedRole:
        return row.selected;
    case VolumeRole:
        return row.volume;
    case DelayMsRole:
        return row.delayMs;
    case MeterActiveRole:
        return row.meterActive;
    case MeterLevelRole:
        return row.meterLevel;
    default:
        return {};
    }
}

QHash<int, QByteArray> DeviceListModel::roleNames() const {
    return {{IdRole, "deviceId"},
            {UidRole, "uid"},
            {NameRole, "name"},
            {TransportLabelRole, "transportLabel"},
            {TransportIconRole, "transportIcon"},
            {SelectedRole, "selected"},
            {VolumeRole, "volume"},
            {DelayMsRole, "delayMs"},
            {MeterActiveRole, "meterActive"},
            {MeterLevelRole, "meterLevel"}};
}

void DeviceListModel::toggle(quint32 id) {
    if (rowOf(id) >= 0)
        m_controller.toggle(id);
}

void DeviceListModel::setVolume(quint32 id, double volume) {
    if (const int row = rowOf(id); row >= 0)
        m_controller.setVolume(static_cast<float>(volume), m_rows[row].device);
}

void DeviceListModel::setDelay(quint32 id, double milliseconds) {
    if (rowOf(id) >= 0)
        m_controller.setDelay(id, milliseconds);
}

void DeviceListModel::commitDelays() {
    m_controller.commitDelays();
}
