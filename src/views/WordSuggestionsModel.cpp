#include "WordSuggestionsModel.h"

#include "model/AppDataStore.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

WordSuggestionsModel::WordSuggestionsModel(AppDataStore& store, QObject* parent)
    : QAbstractListModel(parent)
    , store(store) {}

int WordSuggestionsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant WordSuggestionsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= count())
        return {};
    const WordSuggestion& s = rows[index.row()];
    if (role == WordRole)
        return s.word;
    if (role == DictationsRole)
        return s.dictations;
    return {};
}

QHash<int, QByteArray> WordSuggestionsModel::roleNames() const {
    return {{WordRole, "word"}, {DictationsRole, "dictations"}};
}

void WordSuggestionsModel::refresh() {
    QUENDRA_CHECK_THREAD(checker);
    auto now = suggestWords(store);
    if (now == rows)
        return;
    beginResetModel();
    rows = std::move(now);
    endResetModel();
    Q_EMIT countChanged();
}

void WordSuggestionsModel::setMessage(const QString& text) {
    messageText = text;
    Q_EMIT messageChanged();
}

void WordSuggestionsModel::accept(const QString& word) {
    QUENDRA_CHECK_THREAD(checker);
    if (auto saved = store.saveReviewedSpelling(word, {}); !saved) {
        setMessage(saved.error().message);
        return;
    }
    setMessage(u"Added “%1” to your Words."_s.arg(word));
    refresh();
    Q_EMIT accepted();
}

void WordSuggestionsModel::dismiss(const QString& word) {
    QUENDRA_CHECK_THREAD(checker);
    if (auto saved = store.dismissWordSuggestions({word}); !saved) {
        setMessage(saved.error().message);
        return;
    }
    setMessage(u"“%1” will not be suggested again."_s.arg(word));
    refresh();
}

} // namespace quendra
