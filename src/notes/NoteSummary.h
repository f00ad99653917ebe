#pragma once

// A note's summary as it is shown and exported, read from the object the
// summarising service returned (kept verbatim in `Note::summary`).

#include "model/Json.h"

#include <QList>
#include <QString>

#include <optional>

namespace quendra {

struct NoteSummaryItem {
    QString text;
    // The moment of the note the item refers to, from the note's start.
    std::optional<qint64> atMs;
    // Who takes an action on; empty when not said.
    QString owner;

    friend bool operator==(const NoteSummaryItem&, const NoteSummaryItem&) = default;
};

struct NoteSummaryTopic {
    QString title;
    QString text;
    QList<qint64> momentsMs;

    friend bool operator==(const NoteSummaryTopic&, const NoteSummaryTopic&) = default;
};

// Reading is lenient, since the object comes from a service and from chat
// models: every key may be absent or of another type, items may be plain
// text or objects, and the common spellings of each key and of a moment are
// accepted (documented in docs/note-export.md). Nothing is invented: what
// cannot be read is left out.
// A headed list of a summary, in the order it is shown.
struct NoteSummaryList {
    QString heading;
    QList<NoteSummaryItem> items;
};

struct NoteSummary {
    // A short name for the note, when the service gave one.
    QString title;
    QString overview;
    QList<NoteSummaryItem> keyPoints;
    QList<NoteSummaryItem> decisions;
    QList<NoteSummaryItem> actions;
    QList<NoteSummaryItem> openQuestions;
    QList<NoteSummaryTopic> topics;

    bool isEmpty() const;
    static NoteSummary read(const Json& object);
    // The form a summary is stored in; `read` gives back the same summary.
    Json toJson() const;
    // Drops every moment outside the recording: a service may cite a moment
    // that never was, and seeking there would mislead.
    void keepMomentsWithin(qint64 durationMs);
    // Key points, decisions, actions and open questions, with their
    // headings, leaving out the empty ones; topics are shown on their own.
    QList<NoteSummaryList> lists() const;

    friend bool operator==(const NoteSummary&, const NoteSummary&) = default;
};

} // namespace quendra
