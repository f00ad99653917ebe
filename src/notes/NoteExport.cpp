#include "NoteExport.h"

#include "NoteSummary.h"
#include "NotesStore.h"
#include "TranscriptAssembler.h"
#include "model/DisplayText.h"
#include "model/DurableFile.h"

#include <algorithm>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

QString clock(qint64 ms) {
    return DisplayText::timestamp(ms);
}

// "27:03:04,005" in SRT, "27:03:04.005" in WebVTT.
QString cueTime(qint64 ms, QChar separator) {
    ms = std::max<qint64>(0, ms);
    return clock(ms) + separator + u"%1"_s.arg(ms % 1000, 3, 10, QChar(u'0'));
}

QString speakerName(const Note& note, const QString& label) {
    return note.displayName(label).simplified();
}

// Backslash before every character Markdown could read as markup, so a name
// like "*Bob*" or a text with "<b>" shows as typed. Line breaks become blanks:
// every escaped text sits inside one line.
QString markdownText(const QString& text) {
    static const QString special = u"\\`*_[]<>|~&#"_s;
    QString result;
    const QString flat = text.simplified();
    result.reserve(flat.size() + 8);
    for (QChar c : flat) {
        if (special.contains(c))
            result += u'\\';
        result += c;
    }
    return result;
}

QString vttText(const QString& text) {
    QString result = text;
    result.replace(u'&', u"&amp;"_s).replace(u'<', u"&lt;"_s).replace(u'>', u"&gt;"_s);
    return result;
}

QStringList tokens(const QString& text) {
    return text.simplified().split(u' ', Qt::SkipEmptyParts);
}

// The turn each joined word belongs to, or -1. While the turns are still the
// words as assembled (as many words as the turns hold), by position; after
// the user edited them, by time.
std::vector<int> turnOfEachWord(const QList<NoteTurn>& turns, const QList<TimedWord>& words,
                                const std::vector<QStringList>& turnTokens) {
    std::vector<int> owner(size_t(words.size()), -1);
    qsizetype total = 0;
    for (const QStringList& t : turnTokens)
        total += t.size();
    if (total == words.size()) {
        size_t w = 0;
        for (size_t t = 0; t < turnTokens.size(); ++t)
            for (qsizetype k = 0; k < turnTokens[t].size(); ++k)
                owner[w++] = int(t);
        return owner;
    }
    qsizetype t = 0;
    for (qsizetype w = 0; w < words.size(); ++w) {
        while (t < turns.size() && words[w].startMs > turns[t].endMs)
            ++t;
        if (t == turns.size())
            break;
        if (words[w].startMs >= turns[t].startMs)
            owner[size_t(w)] = int(t);
    }
    return owner;
}

struct TokenTimes {
    std::vector<qint64> start, end;
};

// Each token's time: its word's when the turn's words are known one for one,
// otherwise spread over the turn by characters, as speech roughly is.
TokenTimes tokenTimes(const NoteTurn& turn, const QStringList& words,
                      const QList<TimedWord>& timed) {
    TokenTimes times;
    times.start.reserve(size_t(words.size()));
    times.end.reserve(size_t(words.size()));
    if (timed.size() == words.size()) {
        for (const TimedWord& w : timed) {
            times.start.push_back(w.startMs);
            times.end.push_back(std::max(w.startMs, w.endMs));
        }
        return times;
    }
    qint64 length = 0;
    for (const QString& w : words)
        length += w.size() + 1;
    length = std::max<qint64>(1, length - 1);
    const qint64 span = std::max<qint64>(0, turn.endMs - turn.startMs);
    qint64 offset = 0;
    for (const QString& w : words) {
        times.start.push_back(turn.startMs + span * offset / length);
        times.end.push_back(turn.startMs + span * (offset + w.size()) / length);
        offset += w.size() + 1;
    }
    return times;
}

QString momentSuffix(const std::optional<qint64>& atMs) {
    return atMs ? u" ("_s + clock(*atMs) + u')' : QString();
}

void summaryItems(QString& out, const QString& heading, const QList<NoteSummaryItem>& items) {
    if (items.isEmpty())
        return;
    out += u"### "_s + heading + u"\n\n"_s;
    for (const NoteSummaryItem& item : items) {
        out += u"- "_s + markdownText(item.text);
        if (!item.owner.isEmpty())
            out += u" — "_s + markdownText(item.owner);
        out += momentSuffix(item.atMs) + u'\n';
    }
    out += u'\n';
}

void summaryMarkdown(QString& out, const NoteSummary& summary) {
    out += u"## Summary\n\n"_s;
    if (!summary.overview.isEmpty())
        out += markdownText(summary.overview) + u"\n\n"_s;
    for (const NoteSummaryList& list : summary.lists())
        summaryItems(out, list.heading, list.items);
    if (summary.topics.isEmpty())
        return;
    out += u"### Topics\n\n"_s;
    for (const NoteSummaryTopic& topic : summary.topics) {
        out += u"- **"_s + markdownText(topic.title) + u"**"_s;
        if (!topic.text.isEmpty())
            out += u": "_s + markdownText(topic.text);
        QStringList moments;
        for (qint64 at : topic.momentsMs)
            moments << clock(at);
        if (!moments.isEmpty())
            out += u" ("_s + moments.join(u", "_s) + u')';
        out += u'\n';
    }
    out += u'\n';
}

} // namespace

QList<NoteCue> NoteExport::cues(const Note& note) {
    std::vector<QStringList> turnTokens;
    turnTokens.reserve(size_t(note.turns.size()));
    for (const NoteTurn& turn : note.turns)
        turnTokens.push_back(tokens(turn.text));
    const QList<TimedWord> words = TranscriptAssembler::joinedWords(note.sections);
    const std::vector<int> owner = turnOfEachWord(note.turns, words, turnTokens);
    std::vector<QList<TimedWord>> wordsOfTurn(size_t(note.turns.size()));
    for (size_t w = 0; w < owner.size(); ++w)
        if (owner[w] >= 0)
            wordsOfTurn[size_t(owner[w])].append(words[qsizetype(w)]);

    QList<NoteCue> result;
    for (qsizetype t = 0; t < note.turns.size(); ++t) {
        const NoteTurn& turn = note.turns[t];
        const QStringList& parts = turnTokens[size_t(t)];
        if (parts.isEmpty())
            continue;
        const TokenTimes times = tokenTimes(turn, parts, wordsOfTurn[size_t(t)]);
        const QString speaker = speakerName(note, turn.speaker);
        NoteCue cue;
        QString line;
        qsizetype first = 0;
        const auto close = [&](qsizetype last) {
            cue.lines << line;
            cue.speaker = speaker;
            cue.startMs = times.start[size_t(first)];
            cue.endMs = times.end[size_t(last)];
            result.append(cue);
            cue = NoteCue{};
            line.clear();
        };
        for (qsizetype i = 0; i < parts.size(); ++i) {
            if (line.isEmpty()) {
                line = parts[i];
            } else if (line.size() + 1 + parts[i].size() <= lineCharacters) {
                line += u' ' + parts[i];
            } else if (cue.lines.size() + 1 < cueLines) {
                cue.lines << line;
                line = parts[i];
            } else {
                close(i - 1);
                first = i;
                line = parts[i];
            }
        }
        close(parts.size() - 1);
    }

    // Times run forward, and a cue lasts at least half a second, or until the
    // next one starts.
    for (qsizetype i = 0; i < result.size(); ++i) {
        NoteCue& cue = result[i];
        if (i > 0)
            cue.startMs = std::max(cue.startMs, result[i - 1].startMs);
        if (cue.endMs - cue.startMs < shortestCueMs) {
            qint64 wanted = cue.startMs + shortestCueMs;
            if (i + 1 < result.size() && result[i + 1].startMs > cue.startMs)
                wanted = std::min(wanted, result[i + 1].startMs);
            cue.endMs = std::max(cue.endMs, wanted);
        }
    }
    return result;
}

QByteArray NoteExport::markdown(const Note& note) {
    QString out = u"# "_s + markdownText(note.title) + u"\n\n"_s;
    out += u"- Date: "_s + note.createdAt.toLocalTime().toString(u"yyyy-MM-dd HH:mm"_s) + u'\n';
    out += u"- Source: "_s + markdownText(note.sourceDescription()) + u'\n';
    out += u"- Length: "_s + clock(note.durationMs) + u"\n\n"_s;
    if (note.summary) {
        const NoteSummary summary = NoteSummary::read(*note.summary);
        if (!summary.isEmpty())
            summaryMarkdown(out, summary);
    }
    out += u"## Transcript\n\n"_s;
    if (note.turns.isEmpty())
        out += u"This note has no transcript yet.\n"_s;
    for (const NoteTurn& turn : note.turns) {
        const QString name = speakerName(note, turn.speaker);
        if (!name.isEmpty())
            out += u"**"_s + markdownText(name) + u"** "_s;
        out += u'(' + clock(turn.startMs) + u"): "_s + markdownText(turn.text) + u"\n\n"_s;
    }
    if (out.endsWith(u"\n\n"_s))
        out.chop(1);
    return out.toUtf8();
}

QByteArray NoteExport::srt(const Note& note) {
    QString out;
    const QList<NoteCue> list = cues(note);
    for (qsizetype i = 0; i < list.size(); ++i) {
        const NoteCue& cue = list[i];
        out += QString::number(i + 1) + u'\n' + cueTime(cue.startMs, u',') + u" --> "_s +
               cueTime(cue.endMs, u',') + u'\n';
        if (!cue.speaker.isEmpty())
            out += cue.speaker + u": "_s;
        out += cue.lines.join(u'\n') + u"\n\n"_s;
    }
    return out.toUtf8();
}

QByteArray NoteExport::webVtt(const Note& note) {
    QString out = u"WEBVTT\n\n"_s;
    const QList<NoteCue> list = cues(note);
    for (qsizetype i = 0; i < list.size(); ++i) {
        const NoteCue& cue = list[i];
        out += QString::number(i + 1) + u'\n' + cueTime(cue.startMs, u'.') + u" --> "_s +
               cueTime(cue.endMs, u'.') + u'\n';
        if (!cue.speaker.isEmpty())
            out += u"<v "_s + vttText(cue.speaker) + u'>';
        QStringList lines;
        for (const QString& line : cue.lines)
            lines << vttText(line);
        out += lines.join(u'\n') + u"\n\n"_s;
    }
    return out.toUtf8();
}

QByteArray NoteExport::json(const Note& note) {
    Json speakers = Json::array();
    QStringList seen;
    Json turns = Json::array();
    for (const NoteTurn& turn : note.turns) {
        const QString name = speakerName(note, turn.speaker);
        if (!seen.contains(turn.speaker)) {
            seen << turn.speaker;
            speakers.push_back(Json{{"label", turn.speaker}, {"name", name}});
        }
        turns.push_back(Json{{"speaker", turn.speaker},
                             {"name", name},
                             {"startMs", turn.startMs},
                             {"endMs", turn.endMs},
                             {"text", turn.text}});
    }
    std::vector<QStringList> turnTokens;
    for (const NoteTurn& turn : note.turns)
        turnTokens.push_back(tokens(turn.text));
    const QList<TimedWord> joined = TranscriptAssembler::joinedWords(note.sections);
    const std::vector<int> owner = turnOfEachWord(note.turns, joined, turnTokens);
    Json words = Json::array();
    for (qsizetype w = 0; w < joined.size(); ++w) {
        const int t = owner[size_t(w)];
        words.push_back(Json{{"text", joined[w].text},
                             {"startMs", joined[w].startMs},
                             {"endMs", joined[w].endMs},
                             {"speaker", t < 0 ? Json() : Json(note.turns[t].speaker)}});
    }
    Json highlights = Json::array();
    for (const NoteHighlight& h : note.highlights)
        highlights.push_back(Json{{"atMs", h.atMs}, {"label", h.label}});
    const Json record{
        {"format", "parlevo-note"},
        {"version", 1},
        {"id", note.id},
        {"title", note.title},
        {"createdAt", note.createdAt.toUTC().toString(Qt::ISODateWithMs)},
        {"durationMs", note.durationMs},
        {"language", note.language},
        {"source",
         {{"kind", rawValue(note.source).toString()},
          {"app", note.sourceApp ? Json(*note.sourceApp) : Json()},
          {"description", note.sourceDescription()}}},
        {"speakers", std::move(speakers)},
        {"turns", std::move(turns)},
        {"words", std::move(words)},
        {"highlights", std::move(highlights)},
        {"summary", note.summary ? *note.summary : Json()},
    };
    return jsonBytes(record, 2) + '\n';
}

QByteArray NoteExport::text(const Note& note, NoteExportFormat format) {
    switch (format) {
    case NoteExportFormat::markdown:
        return markdown(note);
    case NoteExportFormat::srt:
        return srt(note);
    case NoteExportFormat::webVtt:
        return webVtt(note);
    case NoteExportFormat::json:
        return json(note);
    case NoteExportFormat::m4a:
        break;
    }
    return {};
}

QString NoteExport::fileName(const Note& note, NoteExportFormat format) {
    // What no file system takes, and what some (FAT on a USB stick) refuse.
    static const QString refused = u"/\\:*?\"<>|"_s;
    QString name;
    for (QChar c : note.title.simplified())
        name += refused.contains(c) || c.category() == QChar::Other_Control ? u'-' : c;
    while (name.startsWith(u'.') || name.startsWith(u'-') || name.startsWith(u' '))
        name.remove(0, 1);
    name = name.left(100).trimmed();
    if (name.isEmpty())
        name = u"Note"_s;
    return name + u'.' + rawValue(format).toString();
}

NoteExportResult<> NoteExport::write(const NotesStore& store, const Note& note,
                                     NoteExportFormat format, const QString& path,
                                     const Progress& progress) {
    if (format == NoteExportFormat::m4a)
        return writeAudio(store, note, path, progress);
    if (auto written = DurableFile::write(path, text(note, format)); !written)
        return std::unexpected(
            NoteExportError{NoteExportError::Kind::unwritable, written.error().message});
    return {};
}

} // namespace quendra
