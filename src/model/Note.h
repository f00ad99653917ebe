#pragma once

// The note record: one recording of a call, a meeting or a spoken thought,
// with its sections, transcript turns, summary and bookmarks.

#include "Json.h"
#include "RawValueEnum.h"
#include "StoreError.h"
#include "TranscriptionResult.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>

namespace quendra {

enum class NoteState { recording, finishing, ready, retry, interrupted };
enum class NoteSource { room, call };

template <>
struct RawValueTable<NoteState> {
    static constexpr std::array<std::pair<NoteState, QStringView>, 5> entries{{
        {NoteState::recording, u"recording"},
        {NoteState::finishing, u"finishing"},
        {NoteState::ready, u"ready"},
        {NoteState::retry, u"retry"},
        {NoteState::interrupted, u"interrupted"},
    }};
};

template <>
struct RawValueTable<NoteSource> {
    static constexpr std::array<std::pair<NoteSource, QStringView>, 2> entries{{
        {NoteSource::room, u"room"},
        {NoteSource::call, u"call"},
    }};
};

// One cut piece of audio; its files are named by `index`.
struct NoteSection {
    int index = 0;
    qint64 startMs = 0;
    qint64 endMs = 0;
    bool closed = false;
    bool done = false;
    QString transcript{};
    QList<TimedWord> words{};

    friend bool operator==(const NoteSection&, const NoteSection&) = default;
};

// One paragraph of the transcript by one speaker.
struct NoteTurn {
    QString speaker{};
    qint64 startMs = 0;
    qint64 endMs = 0;
    QString text{};

    friend bool operator==(const NoteTurn&, const NoteTurn&) = default;
};

struct NoteHighlight {
    QUuid id{};
    qint64 atMs = 0;
    QString label{};

    friend bool operator==(const NoteHighlight&, const NoteHighlight&) = default;
};

struct Note {
    static constexpr qint64 defaultLimitMs = 7'200'000;

    QUuid id{};
    QString title = defaultTitle();
    bool titleEdited = false;
    QDateTime createdAt = QDateTime::fromMSecsSinceEpoch(0, Qt::UTC);
    qint64 durationMs = 0;
    NoteState state = NoteState::interrupted;
    NoteSource source = NoteSource::room;
    std::optional<QString> sourceApp{};
    QString message{};
    QString language = QStringLiteral("auto");
    qint64 limitMs = defaultLimitMs;
    QList<NoteSection> sections{};
    QList<NoteTurn> turns{};
    // The service's summary object, kept verbatim.
    std::optional<Json> summary{};
    QMap<QString, Json> summaryCache{};
    QList<NoteHighlight> highlights{};
    QMap<QString, QString> speakerNames{};
    bool audioRemoved = false;
    std::optional<QString> audioFile{};
    bool turnsFinal = false;
    qint64 revision = 0;
    bool summaryRefreshRequested = false;
    QString processingStage{};
    std::optional<QList<NoteTurn>> originalTurns{};
    bool summaryNeedsRefresh = false;
    QStringList dismissedNameSuggestions{};

    static QString defaultTitle() { return QStringLiteral("New recording"); }

    // The user's name for a speaker label, else the label's standard name.
    QString displayName(const QString& speaker) const;
    int completedSections() const;
    QString transcriptText() const;
    // A short plain-text excerpt for the notes list.
    QString preview() const;
    // One line naming what was recorded and, for a call, the call application.
    QString sourceDescription() const;
    // Whether every word of `search` occurs in the note, ignoring case and accents.
    bool matches(const QString& search) const;
    // The same in two steps, for a list searched at every key: the note's
    // text in the form searches compare, kept with the note, and the words
    // of a search in that form.
    QString searchText() const;
    static QStringList searchTerms(const QString& search);
    static bool matchesTerms(const QString& searchText, const QStringList& terms);

    friend bool operator==(const Note&, const Note&) = default;
};

// The readable name of a call application identifier ("us.zoom.xos",
// "web:meet.google.com", ...); unknown identifiers are shortened, not hidden.
QString callAppName(const QString& sourceApp);

void to_json(Json& j, const NoteSection& s);
void from_json(const Json& j, NoteSection& s);
void to_json(Json& j, const NoteTurn& t);
void from_json(const Json& j, NoteTurn& t);
void to_json(Json& j, const NoteHighlight& h);
void from_json(const Json& j, NoteHighlight& h);
void to_json(Json& j, const Note& n);
// Throws std::invalid_argument when `id` is missing or not a UUID; every other
// field falls back to its default.
void from_json(const Json& j, Note& n);

// What one stored note may hold. Assembling a note sizes its buffers from its
// times, so a record past any of these is refused whole, with a sentence
// naming the value, before anything is allocated from it.
struct NoteLimits {
    // Every time and length in a note, from its start; no recording lasts this long.
    static constexpr qint64 longestMs = 72LL * 60 * 60 * 1000;
    // Sections are cut every half minute or so: enough for the longest note.
    static constexpr qsizetype mostSections = 10'000;
    // Words of a section, turns, highlights and the other lists.
    static constexpr qsizetype mostEntries = 1'000'000;
    static constexpr qint64 highestRevision = qint64(1) << 53;
    static constexpr qint64 largestRecordBytes = 64LL * 1024 * 1024;
};

// The sentence naming the first value of a note record past NoteLimits; none
// when the record keeps within them.
std::optional<QString> noteLimitViolation(const Json& record);

// A note from its stored bytes. Damaged when they are not a JSON object with a
// note id, or break NoteLimits; the error's sentence says what is wrong.
StoreResult<Note> decodeNote(const QByteArray& bytes);
QByteArray encodeNote(const Note& note);

} // namespace quendra
