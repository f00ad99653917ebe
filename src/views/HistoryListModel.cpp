#include "HistoryListModel.h"

#include "audio/WaveFileWriter.h"
#include "dictation/AppModel.h"
#include "model/AppDataStore.h"
#include "model/DisplayText.h"
#include "model/PendingRecordingStore.h"
#include "platform/UrlOpener.h"

#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

HistoryListModel::HistoryListModel(AppDataStore& store, PendingRecordingStore& recordings,
                                   AppModel& dictation, UrlOpener* opener, QObject* parent)
    : FilteredListModel(parent)
    , store(store)
    , recordings(recordings)
    , dictation(dictation)
    , opener(opener) {
    connect(&dictation, &AppModel::entryCompleted, this, &HistoryListModel::onEntryCompleted);
    connect(&dictation, &AppModel::stateChanged, this, [this] {
        // Only a change in what is being transcribed moves a row's state.
        const auto now = this->dictation.transcribingHistoryIDs();
        if (now != transcribing)
            refresh();
    });
    refresh();
}

QString HistoryListModel::state(const TranscriptEntry& entry) const {
    if (transcribing.contains(entry.id))
        return u"transcribing"_s;
    if (entry.isFailed())
        return u"failed"_s;
    if (entry.isPending())
        return u"pending"_s;
    return u"done"_s;
}

QVariant HistoryListModel::data(const QModelIndex& index, int role) const {
    const qsizetype source = sourceRow(index);
    if (source < 0)
        return {};
    const TranscriptEntry& e = entries[source];
    const auto& settings = e.dictationSettings;
    switch (role) {
    case IdRole:
        return e.id.toString(QUuid::WithoutBraces);
    case TextRole:
        return e.text;
    case FailureRole:
        return e.transcriptionError.value_or(QString());
    case TimeRole:
        return DisplayText::moment(e.createdAt);
    case DurationRole: {
        auto ms = e.durationMs;
        if (!ms && e.recordingFileName)
            if (const auto path = recordings.url(*e.recordingFileName))
                ms = WaveFileWriter::durationMs(*path);
        return ms ? DisplayText::clock(*ms) : QString();
    }
    case ModelRole:
        return settings && settings->model ? title(*settings->model) : QString();
    case StyleRole:
        return settings ? title(settings->style) : QString();
    case StateRole:
        return state(e);
    case HasAudioRole:
        return e.recordingFileName && recordings.url(*e.recordingFileName).has_value();
    case SummaryRole: {
        const QString s = state(e);
        const QString body = s == u"done"_s           ? e.text
                             : s == u"transcribing"_s ? u"Transcribing…"_s
                             : s == u"failed"_s       ? e.transcriptionError.value_or(QString())
                                                      : u"Waiting to be transcribed."_s;
        return u"%1, %2"_s.arg(DisplayText::moment(e.createdAt), body);
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> HistoryListModel::roleNames() const {
    return {{IdRole, "entryId"},       {TextRole, "entryText"},    {FailureRole, "failure"},
            {TimeRole, "time"},        {DurationRole, "duration"}, {ModelRole, "modelTitle"},
            {StyleRole, "styleTitle"}, {StateRole, "entryState"},  {HasAudioRole, "hasAudio"},
            {SummaryRole, "summary"}};
}

int HistoryListModel::failedCount() const {
    return static_cast<int>(
        std::count_if(entries.begin(), entries.end(), [](const auto& e) { return e.isFailed(); }));
}

void HistoryListModel::refresh() {
    QUENDRA_CHECK_THREAD(checker);
    auto now = store.history();
    const auto busy = dictation.transcribingHistoryIDs();
    // An unchanged list keeps the view where it was.
    if (now == entries && busy == transcribing)
        return;
    entries = std::move(now);
    transcribing = busy;
    listChanged();
}

bool HistoryListModel::sourceMatches(qsizetype source) const {
    const TranscriptEntry& e = entries[source];
    const auto& settings = e.dictationSettings;
    return query().matches({e.text, e.transcriptionError.value_or(QString()), e.source,
                            settings ? title(settings->style) : QString(),
                            settings && settings->model ? title(*settings->model) : QString()});
}
std::optional<TranscriptEntry> HistoryListModel::find(const QString& id) const {
    const QUuid uuid(id);
    for (const auto& e : entries)
        if (e.id == uuid)
            return e;
    return std::nullopt;
}

void HistoryListModel::copy(const QString& id) {
    QUENDRA_CHECK_THREAD(checker);
    const auto e = find(id);
    if (!e || e->text.isEmpty())
        return;
    dictation.copyText(e->text, u"Copied from History."_s);
    setMessage(u"Copied from History."_s);
}

void HistoryListModel::retry(const QString& id) {
    QUENDRA_CHECK_THREAD(checker);
    dictation.retryHistoryEntry(QUuid(id), false);
}

void HistoryListModel::retryAndCopy(const QString& id) {
    QUENDRA_CHECK_THREAD(checker);
    dictation.retryHistoryEntry(QUuid(id), true);
}

void HistoryListModel::remove(const QString& id) {
    QUENDRA_CHECK_THREAD(checker);
    const auto e = find(id);
    if (!e)
        return;
    if (auto removed = store.removeHistory(e->id); !removed) {
        setMessage(removed.error().message);
        return;
    }
    // The audio goes only once the entry that points to it is gone.
    if (e->recordingFileName)
        recordings.remove(*e->recordingFileName);
    setMessage(u"Deleted from History."_s);
    refresh();
}

void HistoryListModel::play(const QString& id) {
    QUENDRA_CHECK_THREAD(checker);
    const auto e = find(id);
    const auto path =
        e && e->recordingFileName ? recordings.url(*e->recordingFileName) : std::nullopt;
    if (!path) {
        setMessage(u"The recording of this entry is no longer kept."_s);
        return;
    }
    if (!opener || !opener->open(QUrl::fromLocalFile(*path)))
        setMessage(u"No program to play the recording was found. It is kept in %1."_s.arg(*path));
}

void HistoryListModel::openFolder() {
    QUENDRA_CHECK_THREAD(checker);
    const QString folder = recordings.directory();
    if (!opener || !opener->open(QUrl::fromLocalFile(folder)))
        setMessage(
            u"No file manager could be opened. The recordings are kept in %1."_s.arg(folder));
}

QString HistoryListModel::retryProgress() const {
    if (!retryingAll())
        return {};
    const int done = retryTotal - static_cast<int>(retryQueue.size());
    return u"Retrying %1 of %2…"_s.arg(done).arg(retryTotal);
}

void HistoryListModel::retryAllFailed() {
    QUENDRA_CHECK_THREAD(checker);
    if (retryingAll())
        return;
    retryQueue.clear();
    for (const auto& e : entries)
        if (e.isFailed())
            retryQueue << e.id;
    retryTotal = static_cast<int>(retryQueue.size());
    retryNext();
}

void HistoryListModel::cancelRetryAll() {
    QUENDRA_CHECK_THREAD(checker);
    // The entry under way finishes; the rest keep their audio for later.
    retryQueue.clear();
    retryCurrent.reset();
    Q_EMIT retryChanged();
}

void HistoryListModel::retryNext() {
    retryCurrent.reset();
    while (!retryQueue.isEmpty()) {
        const QUuid next = retryQueue.takeFirst();
        // One whose audio went meanwhile would never report back.
        const auto e = find(next.toString(QUuid::WithoutBraces));
        if (!e || !e->recordingFileName || !recordings.url(*e->recordingFileName))
            continue;
        retryCurrent = next;
        dictation.retryHistoryEntry(next, false);
        break;
    }
    Q_EMIT retryChanged();
}

void HistoryListModel::onEntryCompleted(const QUuid& id) {
    refresh();
    if (retryCurrent == id)
        retryNext();
}

} // namespace quendra
