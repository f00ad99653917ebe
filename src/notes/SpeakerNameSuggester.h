#pragma once

// Proposes people's names for a call's speaker labels from what is said in the
// transcript: self-introductions, thanks to the previous speaker, questions and
// hand-overs to the next one. Reads only the turns; never calls a service.

#include <QList>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QString>

#include <optional>

namespace quendra {

struct Note;

struct SpeakerNameSuggestion {
    QString speaker;
    QString name;
    int order = 0;
    double score = 0;
    bool introduced = false;
    QString quote;
    qint64 startMs = 0;

    // Identifies the suggestion for dismissal: "<label>|<name>" in lower case,
    // e.g. "them|maria". Stored as is in the note's dismissed list.
    QString key() const;

    friend bool operator==(const SpeakerNameSuggestion&, const SpeakerNameSuggestion&) = default;
};

class SpeakerNameSuggester {
public:
    struct Turn {
        QString speaker;
        qint64 startMs = 0;
        QString text;
    };

    // Half-open range [start, end) of UTF-16 positions in a text.
    struct Range {
        qsizetype start = 0;
        qsizetype end = 0;

        friend bool operator==(const Range&, const Range&) = default;
    };

    // Weights of each kind of evidence, the score a candidate needs to be
    // offered, and how many names a label is offered at most.
    static constexpr double introductionWeight = 3.0;
    static constexpr double statedNameWeight = 3.0;
    static constexpr double thanksWeight = 1.0;
    static constexpr double handOverWeight = 1.0;
    static constexpr double questionWeight = 0.5;
    static constexpr double offerThreshold = 1.0;
    static constexpr int maxSuggestionsPerLabel = 2;
    // Longest quote kept around a name, in characters, ellipses excluded.
    static constexpr qsizetype quoteLength = 80;

    SpeakerNameSuggester() = delete;

    // Empty unless the note recorded a call; offers names for "you" and "them".
    static QList<SpeakerNameSuggestion> suggestions(const Note& note);
    static QList<SpeakerNameSuggestion> suggest(const QList<Turn>& turns,
                                                const QSet<QString>& eligible,
                                                const QMap<QString, QString>& named,
                                                const QSet<QString>& dismissed);

    static QList<Range> sentences(const QString& text);
    static std::optional<QString> neighbour(const QList<Turn>& turns, qsizetype index, int step,
                                            const QSet<QString>& eligible);
    static std::optional<QString> cleanName(const QString& raw);
    static QString quote(const QString& text, qsizetype start, qsizetype end);

    static const QSet<QString>& titles();
    static const QSet<QString>& notNames();
    static const QRegularExpression& defaultLabel();
    static const QRegularExpression& introducedPattern();
    static const QRegularExpression& namedPattern();
    static const QRegularExpression& thankedPattern();
    static const QRegularExpression& askedPattern();
    static const QRegularExpression& handedPattern();

private:
    class Candidate;
};

} // namespace quendra
