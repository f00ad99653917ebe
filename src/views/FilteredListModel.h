#pragma once

#include "ListFilter.h"
#include "model/MainThreadChecker.h"

#include <QAbstractListModel>

namespace quendra {

// A list of the main window searched as the user types: the rows shown are
// those of the whole list that match the query. A query that only grows
// looks again only at the rows already shown. Main thread only.
class FilteredListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(int totalCount READ totalCount NOTIFY countChanged)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)

public:
    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex& parent = {}) const override;

    QString filter() const { return rowFilter.query(); }
    void setFilter(const QString& text);
    int count() const { return static_cast<int>(shown.size()); }
    int totalCount() const { return static_cast<int>(sourceSize()); }
    // What the last action came to, for the user.
    QString message() const { return messageText; }
    void setMessage(const QString& text);

Q_SIGNALS:
    void filterChanged();
    void countChanged();
    void messageChanged();

protected:
    // The whole list's size, and whether its row `source` matches the query.
    virtual qsizetype sourceSize() const = 0;
    virtual bool sourceMatches(qsizetype source) const = 0;
    // Called when the query changes, before any row is matched.
    virtual void queryChanged(const QString& query) { (void)query; }

    // After the whole list changed.
    void listChanged() { applyFilter(false); }
    // The whole list's row behind the shown row `row`; -1 for none.
    qsizetype sourceRow(const QModelIndex& index) const;
    const ListFilter& query() const { return rowFilter; }

    MainThreadChecker checker;

private:
    void applyFilter(bool narrowing);

    ListFilter rowFilter;
    QList<qsizetype> shown;
    QString messageText;
};

} // namespace quendra
