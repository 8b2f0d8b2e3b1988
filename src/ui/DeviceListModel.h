#pragma once

#include "AudioOutputDevice.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

#include <set>
#include <string>
#include <vector>

class LevelSource;
class MultiOutputController;

// The controller's devices as rows for the window's device list: one row per device in the
// controller's order, keyed by device id. It follows the controller's signals and announces only
// the rows and roles that really changed, so a volume drag or a meter switching on never resets
// the list and never takes a slider out of the user's hand.
class DeviceListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made in C++ over the application's controller")
    // Whether the meters show measured levels (`meterLevel`) or move with the clock.
    Q_PROPERTY(bool levelsMeasured READ levelsMeasured CONSTANT)
    // Whether the meters can be seen (the window is shown); only then is anything measured.
    Q_PROPERTY(bool metersShown READ metersShown WRITE setMetersShown NOTIFY metersShownChanged)
public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        UidRole,
        NameRole,
        TransportLabelRole,
        TransportIconRole,
        SelectedRole,
        VolumeRole,
        DelayMsRole,
        MeterActiveRole,
        MeterLevelRole,
    };
    Q_ENUM(Role)

    // `controller` and `levels` must outlive the model. Without a level source the meters move
    // with the clock, scaled by the volume.
    explicit DeviceListModel(MultiOutputController& controller, LevelSource* levels = nullptr,
                             QObject* parent = nullptr);

    bool levelsMeasured() const { return m_levels != nullptr; }
    bool metersShown() const { return m_metersShown; }
    void setMetersShown(bool shown);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The row's actions, by device id; ids that are gone are ignored.
    Q_INVOKABLE void toggle(quint32 id);
    Q_INVOKABLE void setVolume(quint32 id, double volume);
    // While the delay slider moves: only the stored value changes.
    Q_INVOKABLE void setDelay(quint32 id, double milliseconds);
    // The delay slider was let go.
    Q_INVOKABLE void commitDelays();

    // The symbol drawn for a transport.
    static QString transportSymbol(AudioOutputDevice::Transport transport);

signals:
    void metersShownChanged();

private:
    struct Row {
        AudioOutputDevice device;
        bool selected = false;
        double volume = 1.0;
        double delayMs = 0.0;
        bool meterActive = false;
        double meterLevel = 0.0;
        bool operator==(const Row&) const = default;
    };
    std::vector<Row> currentRows() const;
    // Brings the rows to the controller's state with inserts, removals, moves and per-row
    // changes; never a reset.
    void sync();
    int rowOf(AudioDeviceID id) const;
    static AudioDeviceID rowKey(const Row& row) { return row.device.id; }
    friend struct KeyedRows;
    // Measures the devices whose meters can be seen, and no others.
    void watchLevels();
    void onLevelChanged(const std::string& uid);

    MultiOutputController& m_controller;
    LevelSource* m_levels;
    bool m_metersShown = false;
    std::set<std::string> m_watched;
    std::vector<Row> m_rows;
};
