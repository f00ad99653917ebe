#include "views/NoteDetailModel.h"

#include "model/DisplayText.h"
#include "notes/NoteExport.h"
#include "notes/NoteProcessor.h"
#include "notes/NoteSummary.h"
#include "notes/NotesModel.h"
#include "notes/NotesStore.h"
#include "notes/SpeakerNameSuggester.h"
#include "views/NotesListModel.h"

#include <QDir>
#include <QFutureWatcher>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QtConcurrent/QtConcurrentRun>

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
    return DisplayText::clock(ms);
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
    return NotesListModel::stateName(note->state);
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
    const NoteSummary read = NoteSummary::read(*note->summary);
    const auto row = [](const QString& text, std::optional<qint64> atMs) {
        return QVariantMap{{u"text"_s, text},
                           {u"atMs"_s, atMs ? *atMs : -1},
                           {u"time"_s, atMs ? clock(*atMs) : QString()}};
    };
    QVariantList sections;
    for (const NoteSummaryList& list : read.lists()) {
        QVariantList rows;
        for (const NoteSummaryItem& item : list.items)
            rows.append(
                row(item.owner.isEmpty() ? item.text : item.text + u" ("_s + item.owner + u")"_s,
                    item.atMs));
        sections.append(QVariantMap{{u"heading"_s, list.heading}, {u"items"_s, rows}});
    }
    QVariantList topics;
    for (const NoteSummaryTopic& topic : read.topics)
        topics.append(
            row(topic.text.isEmpty() ? topic.title : topic.title + u": "_s + topic.text,
                topic.momentsMs.isEmpty() ? std::nullopt : std::optional(topic.momentsMs.first())));
    if (!topics.isEmpty())
        sections.append(QVariantMap{{u"heading"_s, u"Topics"_s}, {u"items"_s, topics}});
    return {{u"title"_s, read.title},
            {u"overview"_s, read.overview},
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
    if (!note || !exporter || exporting)
        return;
    const auto kind = fromRawValue<NoteExportFormat>(format);
    if (!kind)
        return;
    const QUrl url(folder);
    const QString directory = url.isLocalFile() ? url.toLocalFile() : folder;
    const QString path = QDir(directory).filePath(NoteExport::fileName(*note, *kind));
    exporting = true;
    setStatus(u"Saving %1…"_s.arg(path));
    // An hour of audio takes seconds to encode: never on the main thread.
    auto* watcher = new QFutureWatcher<std::expected<void, QString>>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher, path] {
        const auto written = watcher->result();
        watcher->deleteLater();
        exporting = false;
        setStatus(written ? u"Saved to %1."_s.arg(path) : written.error());
    });
    watcher->setFuture(QtConcurrent::run([exporter = exporter, snapshot = *note, kind = *kind,
                                          path] { return exporter(snapshot, kind, path); }));
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
