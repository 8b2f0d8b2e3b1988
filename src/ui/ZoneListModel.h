#pragma once

#include <QAbstractListModel>
#include <QString>
#include <QUuid>
#include <QtQml/qqmlregistration.h>

#include <optional>
#include <vector>

class AppModel;
struct Zone;

// The saved zones as rows for the window's zones section, in the store's order and keyed by zone
// id, with the operations of a row. It follows the store, the controller and the hot keys and
// announces only the rows and roles that really changed, so a row keeps its menu, its dialog or
// its hot-key sheet open while other zones change. Names are trimmed here, not in the views.
class ZoneListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made in C++ over the application model")
    // Whether the current device selection can be saved as a zone.
    Q_PROPERTY(bool canSaveSelection READ canSaveSelection NOTIFY canSaveSelectionChanged)
    // The name offered for a new zone: "Zone " and the number of zones plus one.
    Q_PROPERTY(QString proposedName READ proposedName NOTIFY proposedNameChanged)
public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        NameRole,
        DeviceCountRole,
        HotKeyTextRole, // the stored display text, "" without a hot key
        ActiveRole,
        AvailableRole,
        HotKeyTakenRole,      // something outside Brivello holds the combination
        HotKeySharedWithRole, // the name of another zone with the same combination, or ""
    };
    Q_ENUM(Role)

    // `app` must outlive the model.
    explicit ZoneListModel(AppModel& app, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    bool canSaveSelection() const;
    QString proposedName() const;

    // A new zone of the selected devices; false (and nothing saved) when the trimmed name is
    // empty.
    Q_INVOKABLE bool addZone(const QString& name);
    // The row's operations, by zone id; ids that are gone are ignored. A name that trims to
    // nothing keeps the old one.
    Q_INVOKABLE bool rename(const QString& id, const QString& name);
    Q_INVOKABLE void saveSelection(const QString& id);
    // Once control is back in the event loop: the row asking is removed with the zone.
    Q_INVOKABLE void remove(const QString& id);
    Q_INVOKABLE void activate(const QString& id);
    Q_INVOKABLE void setHotKey(const QString& id, quint32 keyCode, quint32 modifiers,
                               const QString& display);
    Q_INVOKABLE void clearHotKey(const QString& id);

    // Spaces and tabs go from both ends; line breaks and inner spaces stay.
    static QString trimmedName(const QString& name);

signals:
    void canSaveSelectionChanged();
    void proposedNameChanged();

private:
    struct Row {
        QUuid id;
        QString name;
        int deviceCount = 0;
        QString hotKeyText;
        bool active = false;
        bool available = false;
        bool hotKeyTaken = false;
        QString hotKeySharedWith;
        bool operator==(const Row&) const = default;
    };
    std::vector<Row> currentRows() const;
    // Brings the rows to the zones' state with inserts, removals, moves and per-row changes.
    void sync();
    int rowOf(const QUuid& id) const;
    static QUuid rowKey(const Row& row) { return row.id; }
    friend struct KeyedRows;
    std::optional<Zone> zone(const QString& id) const;

    AppModel& m_app;
    std::vector<Row> m_rows;
    bool m_canSaveSelection = false;
};
