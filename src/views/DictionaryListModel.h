#pragma once

#include "FilteredListModel.h"
#include "model/DictionaryRecords.h"

namespace quendra {

class AppDataStore;

// The Words list: each spelling with the ways it is heard, filtered as the
// user types. Adding, editing and removing go straight to the store, which
// applies its own rules; `message` says what was refused. Main thread only.
class DictionaryListModel : public FilteredListModel {
    Q_OBJECT

public:
    enum Role { IdRole = Qt::UserRole + 1, SpellingRole, FormsRole, FormsTextRole };

    explicit DictionaryListModel(AppDataStore& store, QObject* parent = nullptr);

    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    Q_INVOKABLE void refresh();
    // `forms` are separated by commas or new lines. An empty `id` adds.
    Q_INVOKABLE bool save(const QString& spelling, const QString& forms, const QString& id = {});
    Q_INVOKABLE void remove(const QString& id);
    // A suggested word accepted as it is.
    Q_INVOKABLE bool add(const QString& spelling);
    // Spoken forms as the edit field shows them.
    static QStringList splitForms(const QString& text);

Q_SIGNALS:
    // The dictionary was changed from here.
    void changed();

protected:
    qsizetype sourceSize() const override { return entries.size(); }
    bool sourceMatches(qsizetype source) const override;

private:
    AppDataStore& store;
    QList<PersonalDictionaryEntry> entries;
};

} // namespace quendra
