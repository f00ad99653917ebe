#pragma once

#include "FilteredListModel.h"
#include "model/DictionaryRecords.h"

namespace quendra {

class AppDataStore;

// The snippets of the Words section: trigger and expansion, filtered as the
// user types. Main thread only.
class SnippetListModel : public FilteredListModel {
    Q_OBJECT

public:
    enum Role { IdRole = Qt::UserRole + 1, TriggerRole, ExpansionRole };

    explicit SnippetListModel(AppDataStore& store, QObject* parent = nullptr);

    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    Q_INVOKABLE void refresh();
    // An empty `id` adds; otherwise the snippet is replaced, trigger and all.
    Q_INVOKABLE bool save(const QString& trigger, const QString& expansion, const QString& id = {});
    Q_INVOKABLE void remove(const QString& id);

protected:
    qsizetype sourceSize() const override { return snippets.size(); }
    bool sourceMatches(qsizetype source) const override;

private:
    AppDataStore& store;
    QList<VoiceSnippet> snippets;
};

} // namespace quendra
