#include "views/NoteDetailModel.h"

#include "notes/NoteProcessor.h"
#include "notes/NotesModel.h"
#include "notes/NotesStore.h"
#include "notes/SpeakerNameSuggester.h"

#include <QDir>
#include <QRegularExpression>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// The order lanes and speakers are shown in: the two sides, any other
// label, and what could not be told last.
int rank(const QString& label) {
    if (label == u"you"_s)
        return 0;
    if (label == u"them"_s)
        return 1;
    if (label == u"unclear"_s)
        return 3;
    return 2;
}

QStringList labelsOf(const Note& note) {
    QStringList labels;
    for (const NoteTurn& turn : note.turns)
        if (!labels.contains(turn.speaker))
            labels << turn.speaker;
    std::stable_sort(labels.begin(), labels.end(),
                     [](const QString& a, const QString& b) { return rank(a) < rank(b); });
    return labels;
}

QString nameOf(const Note& note, const QString& label) {
    const QString name = note.displayName(label);
    return name.isEmpty() ? label : name;
}

// A file name from the title: what a file manager shows, without the
// characters that would make it a path.
QString fileStem(const QString& title) {
    static const QRegularExpression unsafe(u"[/\\\\:*?\"<>|\\x00-\\x1f]+"_s);
    QString stem = title;
    stem.replace(unsafe, u" "_s);
    stem = stem.simplified();
    if (stem.startsWith(u'.'))
        stem.remove(0, 1);
    return stem.isEmpty() ? u"Note"_s : stem.left(80);
}

} // namespace

NoteDetailModel::NoteDetailModel(NotesStore& store, NoteProcessor& processor, NotesModel& notes,
                                 Exporter exporter, QObject* parent)
    : QObject(parent)
    , store(store)
    , processor(processor)
    , notes(notes)
    , exporter(std::move(exporter)) {
    connect(&notes, &NotesModel::processingChanged, this, [this](const QString& id) {
        if (note && id == noteId())
            reload();
    });
}

QString NoteDetailModel::clock(qint64 ms) {
    const qint64 s = std::max<qint64>(0, ms) / 1000;
    if (s >= 3600)
        return u"%1:%2:%3"_s.arg(s / 3600)
            .arg(s / 60 % 60, 2, 10, QChar(u'0'))
            .arg(s % 60, 2, 10, QChar(u'0'));
    return u"%1:%2"_s.arg(s / 60).arg(s % 60, 2, 10, QChar(u'0'));
}

QString NoteDetailModel::exportFolder() {
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return QDir(documents).exists() ? documents : QDir::homePath();
}

QString NoteDetailModel::noteId() const {
    return note ? uuidText(note->id) : QString();
}

QString NoteDetailModel::subtitle() const {
    if (!note)
        return {};
    return u"%1 · %2 · %3"_s.arg(
        QLocale().toString(note->createdAt.toLocalTime(), QLocale::ShortFormat),
        clock(note->durationMs), note->sourceDescription());
}

QString NoteDetailModel::stateText() const {
    if (!note)
        return {};
    if (const QString progress = notes.progressText(noteId()); !progress.isEmpty())
        return progress;
    switch (note->state) {
    case NoteState::recording:
        return u"Recording"_s;
    case NoteState::finishing:
        return u"Waiting to be processed"_s;
    case NoteState::ready:
        return u"Done"_s;
    case NoteState::retry:
        return u"Failed"_s;
    case NoteState::interrupted:
        return u"Interrupted"_s;
    }
    return {};
}

QUrl NoteDetailModel::audioUrl() const {
    if (!note)
        return {};
    if (const auto path = store.playbackPath(*note))
        return QUrl::fromLocalFile(*path);
    return {};
}

QVariantList NoteDetailModel::turns() const {
    QVariantList out;
    if (!note)
        return out;
    for (const NoteTurn& turn : note->turns)
        out.append(QVariantMap{{u"speaker"_s, turn.speaker},
                               {u"name"_s, nameOf(*note, turn.speaker)},
                               {u"startMs"_s, turn.startMs},
                               {u"endMs"_s, turn.endMs},
                               {u"time"_s, clock(turn.startMs)},
                               {u"text"_s, turn.text}});
    return out;
}

QVariantList NoteDetailModel::lanes() const {
    QVariantList out;
    if (!note)
        return out;
    for (const QString& label : labelsOf(*note)) {
        QVariantList spans;
        for (const NoteTurn& turn : note->turns)
            if (turn.speaker == label)
                spans.append(QVariantMap{{u"startMs"_s, turn.startMs}, {u"endMs"_s, turn.endMs}});
        out.append(QVariantMap{{u"label"_s, label},
                               {u"name"_s, nameOf(*note, label)},
                               {u"unclear"_s, label == u"unclear"_s},
                               {u"spans"_s, spans}});
    }
    return out;
}

QVariantList NoteDetailModel::speakers() const {
    QVariantList out;
    if (!note)
        return out;
    const QList<SpeakerNameSuggestion> suggested = SpeakerNameSuggester::suggestions(*note);
    for (const QString& label : labelsOf(*note)) {
        if (label == u"unclear"_s)
            continue;
        QVariantList offers;
        for (const SpeakerNameSuggestion& s : suggested)
            if (s.speaker == label)
                offers.append(
                    QVariantMap{{u"name"_s, s.name}, {u"key"_s, s.key()}, {u"quote"_s, s.quote}});
        out.append(QVariantMap{{u"label"_s, label},
                               {u"name"_s, nameOf(*note, label)},
                               {u"named"_s, !note->speakerNames.value(label).trimmed().isEmpty()},
                               {u"suggestions"_s, offers}});
    }
    return out;
}

QVariantMap NoteDetailModel::summary() const {
    if (!note || !note->summary)
        return {};
    const Json& s = *note->summary;
    QVariantList sections;
    for (const SummaryList& list : summaryLists) {
        const auto items = s.find(list.key);
        if (items == s.end() || !items->is_array() || items->empty())
            continue;
        QVariantList rows;
        for (const Json& item : *items) {
            const auto at = field<qint64>(item, "atMs");
            QString text = fieldOr<QString>(item, "text", {});
            if (const auto owner = field<QString>(item, "owner"))
                text += u" ("_s + *owner + u")"_s;
            rows.append(QVariantMap{{u"text"_s, text},
                                    {u"atMs"_s, at ? *at : -1},
                                    {u"time"_s, at ? clock(*at) : QString()}});
        }
        sections.append(
            QVariantMap{{u"heading"_s, QString::fromLatin1(list.heading)}, {u"items"_s, rows}});
    }
    return {{u"title"_s, fieldOr<QString>(s, "title", {})},
            {u"overview"_s, fieldOr<QString>(s, "overview", {})},
            {u"sections"_s, sections},
            {u"stale"_s, note->summaryNeedsRefresh}};
}

void NoteDetailModel::open(const QString& id) {
    QUENDRA_CHECK_THREAD(checker);
    const auto loaded = store.load(QUuid::fromString(id));
    note = loaded ? std::optional<Note>(*loaded) : std::nullopt;
    answerText.clear();
    setStatus(loaded ? QString() : loaded.error().message);
    Q_EMIT answerChanged();
    Q_EMIT changed();
}

void NoteDetailModel::close() {
    note.reset();
    Q_EMIT changed();
}

void NoteDetailModel::reload() {
    if (!note)
        return;
    const auto loaded = store.load(note->id);
    if (!loaded) {
        note.reset();
        Q_EMIT changed();
        Q_EMIT closed();
        return;
    }
    note = *loaded;
    Q_EMIT changed();
}

void NoteDetailModel::setStatus(const QString& text) {
    if (text == statusText)
        return;
    statusText = text;
    Q_EMIT statusChanged();
}

void NoteDetailModel::change(const std::function<void(Note&)>& edit, const QString& done) {
    QUENDRA_CHECK_THREAD(checker);
    if (!note)
        return;
    const auto updated = store.update(note->id, edit);
    if (!updated) {
        setStatus(updated.error().message);
        return;
    }
    note = *updated;
    setStatus(done);
    Q_EMIT changed();
}

void NoteDetailModel::rename(const QString& label, const QString& name) {
    const QString trimmed = name.simplified();
    change(
        [&](Note& n) {
            if (trimmed.isEmpty())
                n.speakerNames.remove(label);
            else
                n.speakerNames.insert(label, trimmed);
        },
        {});
}

void NoteDetailModel::dismissSuggestion(const QString& key) {
    change(
        [&](Note& n) {
            if (!n.dismissedNameSuggestions.contains(key))
                n.dismissedNameSuggestions.append(key);
        },
        {});
}

void NoteDetailModel::renameNote(const QString& title) {
    const QString trimmed = title.simplified();
    if (trimmed.isEmpty())
        return;
    change(
        [&](Note& n) {
            n.title = trimmed;
            n.titleEdited = true;
        },
        {});
}

void NoteDetailModel::summarize() {
    if (!note)
        return;
    const QUuid id = note->id;
    setStatus(u"Writing the summary…"_s);
    QPointer<NoteDetailModel> self(this);
    processor.summarize(id, true).then([self, id](const NoteProcessor::JsonOutcome& outcome) {
        if (!self || !self->note || self->note->id != id)
            return;
        self->setStatus(outcome ? QString() : outcome.error().message);
        self->reload();
    });
}

void NoteDetailModel::ask(const QString& question) {
    if (!note || askBusy)
        return;
    const QUuid id = note->id;
    askBusy = true;
    answerText.clear();
    Q_EMIT answerChanged();
    QPointer<NoteDetailModel> self(this);
    processor.ask(id, question).then([self, id](const NoteProcessor::JsonOutcome& outcome) {
        if (!self)
            return;
        self->askBusy = false;
        if (self->note && self->note->id == id) {
            if (!outcome) {
                self->answerText = outcome.error().message;
            } else {
                self->answerText = fieldOr<QString>(outcome->object, "text", {});
                QStringList moments;
                for (const Json& citation : outcome->object["citations"])
                    if (const auto at = field<qint64>(citation, "atMs"))
                        moments << clock(*at);
                if (!moments.isEmpty())
                    self->answerText += u" ("_s + moments.join(u", "_s) + u")"_s;
            }
        }
        Q_EMIT self->answerChanged();
    });
}

void NoteDetailModel::exportTo(const QString& format, const QString& folder) {
    if (!note || !exporter)
        return;
    const QUrl url(folder);
    const QString directory = url.isLocalFile() ? url.toLocalFile() : folder;
    const QString path = QDir(directory).filePath(fileStem(note->title) + u"."_s + format);
    const auto written = exporter(*note, format, path);
    setStatus(written ? u"Saved to %1."_s.arg(path) : written.error());
}

void NoteDetailModel::transcribeAgain() {
    if (note)
        notes.transcribeAgain(noteId());
}

void NoteDetailModel::deleteAudio() {
    QUENDRA_CHECK_THREAD(checker);
    if (!note)
        return;
    const auto removed = store.removeAudio(note->id);
    if (!removed) {
        setStatus(removed.error().message);
        return;
    }
    note = *removed;
    setStatus(u"The audio was deleted; the transcript and summary stay."_s);
    Q_EMIT changed();
}

void NoteDetailModel::deleteNote() {
    QUENDRA_CHECK_THREAD(checker);
    if (!note)
        return;
    processor.cancel(note->id);
    if (const auto removed = store.remove(note->id); !removed) {
        setStatus(removed.error().message);
        return;
    }
    note.reset();
    Q_EMIT changed();
    Q_EMIT closed();
}

} // namespace quendra
