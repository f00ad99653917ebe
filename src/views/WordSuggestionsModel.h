#pragma once

#include "model/MainThreadChecker.h"
#include "model/WordSuggestions.h"

#include <QAbstractListModel>

namespace quendra {

class AppDataStore;

// The words proposed for the dictionary, worked out again after each finished
// dictation and after each change to the Words. Empty until the first
// refresh, which reads the common-word list. Main thread only.
class WordSuggestionsModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)

public:
    enum Role { WordRole = Qt::UserRole + 1, DictationsRole };

    explicit WordSuggestionsModel(AppDataStore& store, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return static_cast<int>(rows.size()); }
    QString message() const { return messageText; }

    Q_INVOKABLE void refresh();
    // Adds the word to the dictionary as it is spelled.
    Q_INVOKABLE void accept(const QString& word);
    // Never suggests the word again.
    Q_INVOKABLE void dismiss(const QString& word);

Q_SIGNALS:
    void countChanged();
    void messageChanged();
    // The dictionary gained a word.
    void accepted();

private:
    void setMessage(const QString& text);

    MainThreadChecker checker;
    AppDataStore& store;
    QList<WordSuggestion> rows;
    QString messageText;
};

} // namespace quendra
