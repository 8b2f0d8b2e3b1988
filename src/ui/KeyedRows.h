#pragma once

#include <QModelIndex>

#include <algorithm>
#include <vector>

// The rows of a list model whose rows stand for things with a key (a device id, a zone id),
// brought to a new state one announced step at a time, never with a reset: so a view keeps its
// delegates, their focus and a slider under the user's hand. Models that use it make it a friend,
// for the row announcements only a model may make.
struct KeyedRows {
    // The position of the row with this key, or -1.
    template <class Row, class Key, class KeyOf>
    static int indexOf(const std::vector<Row>& rows, const Key& key, KeyOf keyOf) {
        auto it = std::find_if(rows.begin(), rows.end(),
                               [&](const Row& row) { return keyOf(row) == key; });
        return it == rows.end() ? -1 : static_cast<int>(it - rows.begin());
    }

    // Removes the rows `target` lacks, then walks `target`'s order: a row already there moves
    // into place, a new one is inserted there. Rows that stay keep what they showed, so the
    // caller's own pass can tell which of their roles changed.
    template <class Model, class Row, class KeyOf>
    static void syncMembership(Model& model, std::vector<Row>& rows, const std::vector<Row>& target,
                               KeyOf keyOf) {
        for (int i = static_cast<int>(rows.size()) - 1; i >= 0; --i) {
            if (indexOf(target, keyOf(rows[i]), keyOf) >= 0)
                continue;
            model.beginRemoveRows({}, i, i);
            rows.erase(rows.begin() + i);
            model.endRemoveRows();
        }
        for (int i = 0; i < static_cast<int>(target.size()); ++i) {
            const int from = indexOf(rows, keyOf(target[i]), keyOf);
            if (from == i)
                continue;
            if (from < 0) {
                model.beginInsertRows({}, i, i);
                rows.insert(rows.begin() + i, target[i]);
                model.endInsertRows();
                continue;
            }
            model.beginMoveRows({}, from, from, {}, i);
            Row moved = std::move(rows[from]);
            rows.erase(rows.begin() + from);
            rows.insert(rows.begin() + i, std::move(moved));
            model.endMoveRows();
        }
    }
};
