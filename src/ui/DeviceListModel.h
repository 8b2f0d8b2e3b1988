#pragma once

#include "AudioOutputDevice.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

#include <vector>

class MultiOutputController;

// The controller's devices as rows for the window's device list: one row per device in the
// controller's order, keyed by device id. It follows the controller's signals and announces only
// the rows and roles that really changed, so a volume drag or a meter switching on never resets
// the list and never takes a slider out of the user's hand.
class DeviceListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made in C++ over the application's controller")
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
    };
    Q_ENUM(Role)

    // `controller` must outlive the model.
    explicit DeviceListModel(MultiOutputController& controller, QObject* parent = nullptr);

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

private:
    struct Row {
        AudioOutputDevice device;
        bool selected = false;
        double volume = 1.0;
        double delayMs = 0.0;
        bool meterActive = false;
        bool operator==(const Row&) const = default;
    };
    std::vector<Row> currentRows() const;
    // Brings the rows to the controller's state with inserts, removals, moves and per-row
    // changes; never a reset.
    void sync();
    void syncMembership(const std::vector<Row>& target);
    int rowOf(AudioDeviceID id) const;

    MultiOutputController& m_controller;
    std::vector<Row> m_rows;
};
