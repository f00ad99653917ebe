#include "SpeakerNameSuggester.h"

#include "model/Note.h"

#include <QtGlobal>

#include <algorithm>
#include <tuple>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

QRegularExpression compiled(const QString& pattern) {
    QRegularExpression expression(pattern, QRegularExpression::UseUnicodePropertiesOption);
    if (!expression.isValid()) {
        qFatal("Name pattern does not compile at offset %lld: %s",
               static_cast<long long>(expression.patternErrorOffset()),
               qPrintable(expression.errorString()));
    }
    expression.optimize();
    return expression;
}

bool isSentenceEnd(QChar c) {
    return c == u'.' || c == u'!' || c == u'?' || c == u'…';
}

// Closing marks that belong to the sentence they follow: "Really?” she said".
bool isClosingMark(QChar c) {
    return c == u'"' || c == u'\'' || c == u'”' || c == u'’' || c == u')' || c == u']';
}

bool isLineBreak(QChar c) {
    return c == u'\n' || c == u'\r' || c == u'\u2028' || c == u'\u2029';
}

// "Dr." and friends end with a full stop that does not end the sentence.
bool endsWithTitle(const QString& text, qsizetype dot) {
    qsizetype begin = dot;
    while (begin > 0 && text[begin - 1].isLetter())
        --begin;
    if (begin == dot || (begin > 0 && !text[begin - 1].isSpace() && !text[begin - 1].isPunct()))
        return false;
    return SpeakerNameSuggester::titles().contains(text.sliced(begin, dot - begin).toLower());
}

char32_t firstCodePoint(const QString& word) {
    if (word.size() > 1 && word[0].isHighSurrogate() && word[1].isLowSurrogate())
        return QChar::surrogateToUcs4(word[0], word[1]);
    return word[0].unicode();
}

} // namespace

QString SpeakerNameSuggestion::key() const {
    return speaker.toLower() + u'|' + name.toLower();
}

const QSet<QString>& SpeakerNameSuggester::titles() {
    static const QSet<QString> table{u"dr"_s, u"mr"_s, u"mrs"_s, u"ms"_s, u"prof"_s, u"st"_s};
    return table;
}

const QSet<QString>& SpeakerNameSuggester::notNames() {
    static const QSet<QString> table = [] {
        const QString words =
            u"everyone everybody all guys folks team there here sorry fine good great okay ok so "
            u"yes no yeah well just not going sure back done ready happy glad excited new the a an "
            u"and but i we you they it this that hello hi hey thanks thank today tomorrow "
            u"yesterday morning afternoon evening ladies gentlemen sir madam man dude buddy bro "
            u"mate friends class students speaker monday tuesday wednesday thursday friday "
            u"saturday sunday january february march april may june july august september october "
            u"november december god american canadian british english french german spanish "
            u"italian chinese japanese indian australian mexican irish catholic christian jewish "
            u"muslim"_s;
        const QStringList list = words.split(u' ', Qt::SkipEmptyParts);
        return QSet<QString>(list.begin(), list.end());
    }();
    return table;
}

const QRegularExpression& SpeakerNameSuggester::defaultLabel() {
    static const QRegularExpression expression = compiled(uR"re(^Speaker \d+$)re"_s);
    return expression;
}

const QRegularExpression& SpeakerNameSuggester::introducedPattern() {
    static const QRegularExpression expression = compiled(
        uR"re(^(?:(?i:hi|hello|hey|good morning|good afternoon|good evening|morning)(?:\s+(?i:everyone|everybody|all|guys|folks|there|team))?[,!]?\s+)?(?i:i'm|i am|this is)\s+((?:(?:Dr|Mr|Mrs|Ms|Prof)\.?\s+)?\p{Lu}[\p{L}'\-]*(?:\s+\p{Lu}[\p{L}'\-]*)?)(?=$|[,.!?;:]|\s+(?i:from|here|and|with|on|speaking|joining)\b))re"_s);
    return expression;
}

const QRegularExpression& SpeakerNameSuggester::namedPattern() {
    static const QRegularExpression expression = compiled(
        uR"re((?i:\bmy name is|\bmy name's|\bcall me)\s+((?:(?:Dr|Mr|Mrs|Ms|Prof)\.?\s+)?\p{Lu}[\p{L}'\-]*(?:\s+\p{Lu}[\p{L}'\-]*)?)(?=$|[,.!?;:]|\s))re"_s);
    return expression;
}

const QRegularExpression& SpeakerNameSuggester::thankedPattern() {
    static const QRegularExpression expression = compiled(
        uR"re(^(?i:thanks|thank you)(?:\s+(?i:so|very)\s+(?i:much))?,?\s+((?:(?:Dr|Mr|Mrs|Ms|Prof)\.?\s+)?\p{Lu}[\p{L}'\-]*(?:\s+\p{Lu}[\p{L}'\-]*)?)(?=$|[,.!?;:]))re"_s);
    return expression;
}

const QRegularExpression& SpeakerNameSuggester::askedPattern() {
    static const QRegularExpression expression = compiled(
        uR"re(,\s*((?:(?:Dr|Mr|Mrs|Ms|Prof)\.?\s+)?\p{Lu}[\p{L}'\-]*(?:\s+\p{Lu}[\p{L}'\-]*)?)\?$)re"_s);
    return expression;
}

const QRegularExpression& SpeakerNameSuggester::handedPattern() {
    static const QRegularExpression expression = compiled(
        uR"re((?i:over to you|go ahead|your turn),?\s+((?:(?:Dr|Mr|Mrs|Ms|Prof)\.?\s+)?\p{Lu}[\p{L}'\-]*(?:\s+\p{Lu}[\p{L}'\-]*)?)(?=$|[,.!?;:]))re"_s);
    return expression;
}

// Everything heard for one (label, name) pair.
class SpeakerNameSuggester::Candidate {
public:
    Candidate(QString name, int order, int firstSeen)
        : name(std::move(name))
        , order(order)
        , firstSeen(firstSeen) {}

    // The quote comes from the strongest single piece of evidence; among
    // equally strong ones the first is kept.
    void add(const QString& sentence, qint64 sentenceStartMs, double weight, bool introduction) {
        score += weight;
        introduced = introduced || introduction;
        if (weight > quoteWeight) {
            quote = sentence;
            startMs = sentenceStartMs;
            quoteWeight = weight;
        }
    }

    QString name;
    int order = 0;
    int firstSeen = 0; // across all labels, to order equal `order`s
    double score = 0;
    bool introduced = false;
    QString quote;
    qint64 startMs = 0;
    double quoteWeight = 0;
};

QList<SpeakerNameSuggestion> SpeakerNameSuggester::suggestions(const Note& note) {
    if (note.source != NoteSource::call)
        return {};
    QList<Turn> turns;
    turns.reserve(note.turns.size());
    for (const NoteTurn& turn : note.turns)
        turns.append({turn.speaker, turn.startMs, turn.text});
    QSet<QString> dismissed;
    for (const QString& key : note.dismissedNameSuggestions)
        dismissed.insert(key.toLower());
    return suggest(turns, {u"you"_s, u"them"_s}, note.speakerNames, dismissed);
}

QList<SpeakerNameSuggestion> SpeakerNameSuggester::suggest(const QList<Turn>& turns,
                                                           const QSet<QString>& eligible,
                                                           const QMap<QString, QString>& named,
                                                           const QSet<QString>& dismissed) {
    struct Rule {
        const QRegularExpression& pattern;
        int step; // 0: the speaker's own name; -1 / +1: the previous / next other speaker
        double weight;
        bool introduction;
    };
    const Rule rules[] = {
        {introducedPattern(), 0, introductionWeight, true},
        {namedPattern(), 0, statedNameWeight, true},
        {thankedPattern(), -1, thanksWeight, false},
        {askedPattern(), +1, questionWeight, false},
        {handedPattern(), +1, handOverWeight, false},
    };

    QMap<QString, QList<Candidate>> candidates;
    int seen = 0;
    const auto add = [&](const QString& label, const QString& name, const QString& sentence,
                         qint64 startMs, const Rule& rule) {
        QList<Candidate>& list = candidates[label];
        auto found = std::ranges::find_if(list, [&](const Candidate& c) {
            return c.name.compare(name, Qt::CaseInsensitive) == 0;
        });
        if (found == list.end()) {
            list.append(Candidate(name, int(list.size()), seen++));
            found = list.end() - 1;
        }
        found->add(sentence, startMs, rule.weight, rule.introduction);
    };

    for (qsizetype index = 0; index < turns.size(); ++index) {
        const Turn& turn = turns[index];
        if (!eligible.contains(turn.speaker))
            continue;
        const std::optional<QString> previous = neighbour(turns, index, -1, eligible);
        const std::optional<QString> next = neighbour(turns, index, +1, eligible);
        for (const Range& range : sentences(turn.text)) {
            const QString sentence = turn.text.sliced(range.start, range.end - range.start);
            // Transcripts often carry typographic apostrophes ("I’m"); the
            // patterns are written with the plain one. Same length, same offsets.
            QString subject = sentence;
            subject.replace(u'’', u'\'');
            for (const Rule& rule : rules) {
                const std::optional<QString> label = rule.step == 0  ? std::optional(turn.speaker)
                                                     : rule.step < 0 ? previous
                                                                     : next;
                if (!label)
                    continue;
                auto matches = rule.pattern.globalMatch(subject);
                while (matches.hasNext()) {
                    const QRegularExpressionMatch match = matches.next();
                    const std::optional<QString> name = cleanName(match.captured(1));
                    if (!name || defaultLabel().match(*name).hasMatch())
                        continue;
                    add(*label, *name,
                        quote(sentence, match.capturedStart(1), match.capturedEnd(1)), turn.startMs,
                        rule);
                }
            }
        }
    }

    // Names the user gave, by label, in lower case; blank and placeholder
    // names do not count as given.
    QSet<QString> namedLabels;
    QSet<QString> givenNames;
    for (auto it = named.begin(); it != named.end(); ++it) {
        const QString name = it.value().trimmed();
        if (!name.isEmpty() && !defaultLabel().match(name).hasMatch()) {
            namedLabels.insert(it.key());
            givenNames.insert(name.toLower());
        }
    }
    const auto keyOf = [](const QString& label, const QString& name) {
        SpeakerNameSuggestion probe;
        probe.speaker = label;
        probe.name = name;
        return probe.key();
    };
    QSet<QString> dismissedKeys;
    for (const QString& key : dismissed)
        dismissedKeys.insert(key.toLower());

    // One person, one label: a name heard for several labels stays with the
    // label where its evidence is strongest (the earlier one on a tie).
    QMap<QString, const Candidate*> strongest;
    QMap<QString, QString> strongestLabel;
    for (auto it = candidates.begin(); it != candidates.end(); ++it) {
        for (const Candidate& candidate : it.value()) {
            if (dismissedKeys.contains(keyOf(it.key(), candidate.name)))
                continue;
            const QString lower = candidate.name.toLower();
            const Candidate* best = strongest.value(lower);
            if (!best || candidate.score > best->score ||
                (candidate.score == best->score && candidate.firstSeen < best->firstSeen)) {
                strongest.insert(lower, &candidate);
                strongestLabel.insert(lower, it.key());
            }
        }
    }

    QList<std::pair<int, SpeakerNameSuggestion>> offered;
    for (auto it = candidates.begin(); it != candidates.end(); ++it) {
        const QString& label = it.key();
        QList<const Candidate*> kept;
        for (const Candidate& candidate : it.value()) {
            // A name the user already gave, to this label or another, is settled.
            const QString lower = candidate.name.toLower();
            if (candidate.score < offerThreshold || givenNames.contains(lower) ||
                dismissedKeys.contains(keyOf(label, candidate.name)) ||
                strongestLabel.value(lower) != label)
                continue;
            // A label the user already named only hears of a name its speaker
            // introduced themselves with.
            if (namedLabels.contains(label) && !candidate.introduced)
                continue;
            kept.append(&candidate);
        }
        std::ranges::stable_sort(
            kept, [](const Candidate* a, const Candidate* b) { return a->score > b->score; });
        kept.resize(std::min<qsizetype>(kept.size(), maxSuggestionsPerLabel));
        for (const Candidate* candidate : kept) {
            offered.append(
                {candidate->firstSeen, SpeakerNameSuggestion{.speaker = label,
                                                             .name = candidate->name,
                                                             .order = candidate->order,
                                                             .score = candidate->score,
                                                             .introduced = candidate->introduced,
                                                             .quote = candidate->quote,
                                                             .startMs = candidate->startMs}});
        }
    }
    std::ranges::sort(offered, [](const auto& a, const auto& b) {
        return std::tie(a.second.order, a.first) < std::tie(b.second.order, b.first);
    });
    QList<SpeakerNameSuggestion> result;
    result.reserve(offered.size());
    for (auto& [seenAt, suggestion] : offered)
        result.append(std::move(suggestion));
    return result;
}

// A sentence ends after a run of ".", "!", "?" or "…" (with any closing quotes
// or brackets) that is followed by white space or the end of the text, and at
// every line break. A full stop right after a title ("Dr.", "Mr.", "St.") does
// not end it, nor does one inside a token ("3.5", "e.g.x"). Ranges are trimmed
// of white space; empty ones are left out.
QList<SpeakerNameSuggester::Range> SpeakerNameSuggester::sentences(const QString& text) {
    QList<Range> result;
    qsizetype start = 0;
    const auto close = [&](qsizetype end) {
        qsizetype from = start;
        while (from < end && text[from].isSpace())
            ++from;
        while (end > from && text[end - 1].isSpace())
            --end;
        if (end > from)
            result.append({from, end});
    };
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        if (isLineBreak(text[i])) {
            close(i);
            start = i + 1;
            continue;
        }
        if (!isSentenceEnd(text[i]))
            continue;
        qsizetype after = i + 1;
        while (after < size && (isSentenceEnd(text[after]) || isClosingMark(text[after])))
            ++after;
        if (after < size && !text[after].isSpace()) {
            i = after - 1;
            continue;
        }
        if (text[i] == u'.' && after == i + 1 && endsWithTitle(text, i))
            continue;
        close(after);
        start = after;
        i = after - 1;
    }
    close(size);
    return result;
}

std::optional<QString> SpeakerNameSuggester::neighbour(const QList<Turn>& turns, qsizetype index,
                                                       int step, const QSet<QString>& eligible) {
    if (index < 0 || index >= turns.size() || step == 0 || !eligible.contains(turns[index].speaker))
        return std::nullopt;
    const QString& own = turns[index].speaker;
    for (qsizetype i = index + step; i >= 0 && i < turns.size(); i += step) {
        const QString& label = turns[i].speaker;
        if (!eligible.contains(label))
            return std::nullopt;
        if (label != own)
            return label;
    }
    return std::nullopt;
}

std::optional<QString> SpeakerNameSuggester::cleanName(const QString& raw) {
    QStringList kept;
    for (const QString& word : raw.simplified().split(u' ', Qt::SkipEmptyParts)) {
        const QString lower = word.toLower();
        // The patterns allow "Dr." as well as "Dr".
        const QString bare = lower.endsWith(u'.') ? lower.chopped(1) : lower;
        if (titles().contains(bare))
            continue;
        if (notNames().contains(lower) || lower.endsWith(u"'s"_s) || lower.endsWith(u"’s"_s) ||
            word.size() < 2 || !QChar::isUpper(firstCodePoint(word)) || word == word.toUpper())
            break;
        kept.append(word);
    }
    if (kept.isEmpty())
        return std::nullopt;
    QString name = kept.join(u' ');
    if (name.size() > 40)
        return std::nullopt;
    return name;
}

// The whole sentence when it is short; otherwise a window of about
// `quoteLength` characters centred on the name, cut at word boundaries and
// marked with "…" where text was left out.
QString SpeakerNameSuggester::quote(const QString& text, qsizetype start, qsizetype end) {
    const qsizetype size = text.size();
    start = std::clamp<qsizetype>(start, 0, size);
    end = std::clamp<qsizetype>(end, start, size);
    if (size <= quoteLength)
        return text.simplified();

    const qsizetype budget = std::max<qsizetype>(0, quoteLength - (end - start));
    qsizetype left = start - budget / 2;
    qsizetype right = end + (budget - budget / 2);
    if (left < 0) {
        right = std::min(size, right - left);
        left = 0;
    }
    if (right > size) {
        left = std::max<qsizetype>(0, left - (right - size));
        right = size;
    }
    if (left > 0) {
        const qsizetype blank = text.indexOf(u' ', left - 1);
        if (blank >= 0 && blank < start)
            left = blank + 1;
    }
    if (right < size) {
        const qsizetype blank = text.lastIndexOf(u' ', right);
        if (blank >= end)
            right = blank;
    }
    QString excerpt = text.sliced(left, right - left).simplified();
    if (left > 0)
        excerpt.prepend(u'…');
    if (right < size)
        excerpt.append(u'…');
    return excerpt;
}

} // namespace quendra
