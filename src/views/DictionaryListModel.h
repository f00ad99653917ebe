#pragma once

#include "ListFilter.h"
#include "model/DictionaryRecords.h"
#include "model/MainThreadChecker.h"

#include <QAbstractListModel>

namespace quendra {

class AppDataStore;

// The Words list: each spelling with the ways it is heard, filtered as the
// user types. Adding, editing and removing go straight to the store, which
// applies its own rules; `message` says what was refused. Main thread only.
class DictionaryListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(int totalCount READ totalCount NOTIFY countChanged)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)

public:
    enum Role { IdRole = Qt::UserRole + 1, SpellingRole, FormsRole, FormsTextRole };

    explicit DictionaryListModel(AppDataStore& store, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    QString filter() const { return rowFilter.query(); }
    void setFilter(const QString& text);
    int count() const { return static_cast<int>(shown.size()); }
    int totalCount() const { return static_cast<int>(entries.size()); }
    QString message() const { return messageText; }

    Q_INVOKABLE void refresh();
    // `forms` are separated by commas or new lines. An empty `id` adds.
    Q_INVOKABLE bool save(const QString& spelling, const QString& forms, const QString& id = {});
    Q_INVOKABLE void remove(const QString& id);
    // A suggested word accepted as it is.
    Q_INVOKABLE bool add(const QString& spelling);
    // Spoken forms as the edit field shows them.
    static QStringList splitForms(const QString& text);

    void setMessage(const QString& text);

Q_SIGNALS:
    void filterChanged();
    void countChanged();
    void messageChanged();
    void changed();

private:
    // `narrowing`: the new query only adds to the last one, so only the rows
    // shown can still match.
    void applyFilter(bool narrowing = false);

    MainThreadChecker checker;
    AppDataStore& store;
    QList<PersonalDictionaryEntry> entries;
    QList<int> shown;
    ListFilter rowFilter;
    QString messageText;
};

} // namespace quendra
