#pragma once

#include "ListFilter.h"
#include "model/DictionaryRecords.h"
#include "model/MainThreadChecker.h"

#include <QAbstractListModel>

namespace quendra {

class AppDataStore;

// The snippets of the Words section: trigger and expansion, filtered as the
// user types. Main thread only.
class SnippetListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(int totalCount READ totalCount NOTIFY countChanged)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)

public:
    enum Role { IdRole = Qt::UserRole + 1, TriggerRole, ExpansionRole };

    explicit SnippetListModel(AppDataStore& store, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    QString filter() const { return rowFilter.query(); }
    void setFilter(const QString& text);
    int count() const { return static_cast<int>(shown.size()); }
    int totalCount() const { return static_cast<int>(snippets.size()); }
    QString message() const { return messageText; }

    Q_INVOKABLE void refresh();
    // An empty `id` adds; otherwise the snippet is replaced, trigger and all.
    Q_INVOKABLE bool save(const QString& trigger, const QString& expansion, const QString& id = {});
    Q_INVOKABLE void remove(const QString& id);

    void setMessage(const QString& text);

Q_SIGNALS:
    void filterChanged();
    void countChanged();
    void messageChanged();

private:
    void applyFilter();

    MainThreadChecker checker;
    AppDataStore& store;
    QList<VoiceSnippet> snippets;
    QList<int> shown;
    ListFilter rowFilter;
    QString messageText;
};

} // namespace quendra
