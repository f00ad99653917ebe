#include "FilteredListModel.h"

namespace quendra {

int FilteredListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

void FilteredListModel::setFilter(const QString& text) {
    QUENDRA_CHECK_THREAD(checker);
    if (text == rowFilter.query())
        return;
    // Each word of the old query is then part of one of the new: what did
    // not match before cannot match now.
    const bool narrowing = !rowFilter.isEmpty() && text.startsWith(rowFilter.query());
    rowFilter.setQuery(text);
    queryChanged(text);
    Q_EMIT filterChanged();
    applyFilter(narrowing);
}

void FilteredListModel::setMessage(const QString& text) {
    messageText = text;
    Q_EMIT messageChanged();
}

qsizetype FilteredListModel::sourceRow(const QModelIndex& index) const {
    if (!index.isValid() || index.row() >= shown.size())
        return -1;
    return shown[index.row()];
}

void FilteredListModel::applyFilter(bool narrowing) {
    QList<qsizetype> rows;
    const auto consider = [&](qsizetype i) {
        if (rowFilter.isEmpty() || sourceMatches(i))
            rows << i;
    };
    if (narrowing) {
        rows.reserve(shown.size());
        for (qsizetype i : std::as_const(shown))
            consider(i);
    } else {
        const qsizetype size = sourceSize();
        rows.reserve(size);
        for (qsizetype i = 0; i < size; ++i)
            consider(i);
    }
    beginResetModel();
    shown = std::move(rows);
    endResetModel();
    Q_EMIT countChanged();
}

} // namespace quendra
