#include "NotesListModel.h"

#include "model/DisplayText.h"
#include "notes/NotesStore.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString NotesListModel::stateName(NoteState state) {
    switch (state) {
    case NoteState::recording:
        return u"Recording"_s;
    case NoteState::finishing:
        return u"Processing"_s;
    case NoteState::ready:
        return u"Done"_s;
    case NoteState::retry:
        return u"Failed"_s;
    case NoteState::interrupted:
        return u"Interrupted"_s;
    }
    return {};
}

NotesListModel::NotesListModel(NotesStore& store, QObject* parent)
    : FilteredListModel(parent)
    , store(store) {}

NotesListModel::~NotesListModel() {
    if (loader.joinable())
        loader.join();
}

QVariant NotesListModel::data(const QModelIndex& index, int role) const {
    const qsizetype source = sourceRow(index);
    if (source < 0)
        return {};
    const Note& n = notes[source];
    switch (role) {
    case IdRole:
        return n.id.toString(QUuid::WithoutBraces);
    case TitleRole:
        return n.title;
    case TimeRole:
        return DisplayText::moment(n.createdAt);
    case DurationRole:
        return DisplayText::clock(n.durationMs);
    case StateRole:
        return stateName(n.state);
    case SourceRole:
        return n.sourceDescription();
    case PreviewRole:
        return n.preview();
    case MessageRole:
        return n.message;
    default:
        return {};
    }
}

QHash<int, QByteArray> NotesListModel::roleNames() const {
    return {{IdRole, "noteId"},         {TitleRole, "title"},     {TimeRole, "time"},
            {DurationRole, "duration"}, {StateRole, "noteState"}, {SourceRole, "source"},
            {PreviewRole, "preview"},   {MessageRole, "message"}};
}

void NotesListModel::queryChanged(const QString& query) {
    terms = Note::searchTerms(query);
}

bool NotesListModel::sourceMatches(qsizetype source) const {
    return Note::matchesTerms(searchTexts[source], terms);
}
void NotesListModel::refresh() {
    QUENDRA_CHECK_THREAD(checker);
    if (loadsUnderWay > 0) {
        reloadWanted = true;
        return;
    }
    if (loader.joinable())
        loader.join();
    ++loadsUnderWay;
    Q_EMIT loadingChanged();
    // The store is safe from any thread; only the result comes back here.
    loader = std::thread([this] {
        auto listing = std::make_shared<NoteListing>(store.loadAll());
        auto texts = std::make_shared<QStringList>();
        texts->reserve(listing->notes.size());
        for (const Note& note : listing->notes)
            *texts << note.searchText();
        QMetaObject::invokeMethod(
            this,
            [this, listing, texts] {
                notes = std::move(listing->notes);
                searchTexts = std::move(*texts);
                const auto unreadable = listing->unreadable.size();
                problemText = unreadable == 0
                                  ? QString()
                                  : u"%1 note folders could not be read."_s.arg(unreadable);
                --loadsUnderWay;
                listChanged();
                Q_EMIT loadingChanged();
                if (std::exchange(reloadWanted, false))
                    refresh();
            },
            Qt::QueuedConnection);
    });
}

} // namespace quendra
