#include "notes/NoteExport.h"

#include "audio/AudioDecoder.h"
#include "audio/SectionWriter.h"
#include "model/Json.h"
#include "notes/NotesStore.h"
#include "notes/TranscriptAssembler.h"
#include "support/CrampedFolder.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <numbers>
#include <sys/resource.h>
#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

// ------------------------------------------------------------------------
// A subtitle reader written from the formats' rules, not from the writer:
// cues are blocks separated by blank lines; SRT numbers them and separates
// milliseconds with a comma; WebVTT starts with "WEBVTT", may name a cue,
// separates milliseconds with a full stop, gives the speaker as <v Name> and
// escapes &, < and > as entities.

struct ParsedCue {
    QString id;
    qint64 startMs = 0;
    qint64 endMs = 0;
    QString voice;
    QStringList lines;
    QString text() const { return lines.join(u' '); }
};

std::optional<qint64> timestamp(const QString& text, QChar separator) {
    static const QRegularExpression pattern(u"^(\\d{2,}):([0-5]\\d):([0-5]\\d)([,.])(\\d{3})$"_s);
    const auto match = pattern.match(text);
    if (!match.hasMatch() || match.captured(4) != QString(separator))
        return std::nullopt;
    return ((match.captured(1).toLongLong() * 60 + match.captured(2).toLongLong()) * 60 +
            match.captured(3).toLongLong()) *
               1000 +
           match.captured(5).toLongLong();
}

QList<QStringList> blocks(const QByteArray& bytes) {
    QList<QStringList> result;
    QStringList current;
    for (const QString& line : QString::fromUtf8(bytes).split(u'\n')) {
        if (line.isEmpty()) {
            if (!current.isEmpty())
                result << current;
            current.clear();
        } else {
            current << line;
        }
    }
    if (!current.isEmpty())
        result << current;
    return result;
}

bool timing(const QString& line, QChar separator, ParsedCue& cue) {
    const QStringList parts = line.split(u" --> "_s);
    if (parts.size() != 2)
        return false;
    const auto start = timestamp(parts[0], separator), end = timestamp(parts[1], separator);
    if (!start || !end)
        return false;
    cue.startMs = *start;
    cue.endMs = *end;
    return true;
}

std::optional<QList<ParsedCue>> parseSrt(const QByteArray& bytes) {
    QList<ParsedCue> cues;
    for (const QStringList& block : blocks(bytes)) {
        ParsedCue cue;
        if (block.size() < 3 || !timing(block[1], u',', cue))
            return std::nullopt;
        cue.id = block[0];
        cue.lines = block.mid(2);
        cues << cue;
    }
    return cues;
}

std::optional<QString> unescapeVtt(QString text) {
    static const QRegularExpression entity(u"&(?!(amp|lt|gt);)"_s);
    if (text.contains(u'<') || text.contains(u'>') || entity.match(text).hasMatch())
        return std::nullopt;
    return text.replace(u"&lt;"_s, u"<"_s).replace(u"&gt;"_s, u">"_s).replace(u"&amp;"_s, u"&"_s);
}

std::optional<QList<ParsedCue>> parseVtt(const QByteArray& bytes) {
    QList<QStringList> all = blocks(bytes);
    if (all.isEmpty() || all[0] != QStringList{u"WEBVTT"_s})
        return std::nullopt;
    QList<ParsedCue> cues;
    for (const QStringList& block : all.mid(1)) {
        ParsedCue cue;
        qsizetype at = 0;
        if (!block[0].contains(u"-->"_s))
            cue.id = block[at++];
        if (at >= block.size() || !timing(block[at++], u'.', cue) || at >= block.size())
            return std::nullopt;
        QStringList payload = block.mid(at);
        static const QRegularExpression voice(u"^<v ([^>]*)>"_s);
        if (const auto match = voice.match(payload[0]); match.hasMatch()) {
            const auto name = unescapeVtt(match.captured(1));
            if (!name)
                return std::nullopt;
            cue.voice = *name;
            payload[0] = payload[0].mid(match.capturedLength());
        }
        for (const QString& line : payload) {
            const auto text = unescapeVtt(line);
            if (!text)
                return std::nullopt;
            cue.lines << *text;
        }
        cues << cue;
    }
    return cues;
}

// Every cue in order and in time; their texts, in order, give back the turns.
void expectCuesFollowTurns(const QList<ParsedCue>& cues, const Note& note, bool voices) {
    qint64 lastStart = -1;
    for (qsizetype i = 0; i < cues.size(); ++i) {
        EXPECT_EQ(cues[i].id, QString::number(i + 1));
        EXPECT_GE(cues[i].startMs, lastStart) << "cue " << i + 1;
        EXPECT_GT(cues[i].endMs, cues[i].startMs) << "cue " << i + 1;
        lastStart = cues[i].startMs;
    }
    qsizetype next = 0;
    for (const NoteTurn& turn : note.turns) {
        const QString name = note.displayName(turn.speaker);
        QStringList texts;
        while (next < cues.size() && texts.join(u' ') != turn.text.simplified()) {
            ParsedCue cue = cues[next++];
            if (voices) {
                EXPECT_EQ(cue.voice, name);
            } else if (!name.isEmpty()) {
                ASSERT_TRUE(cue.lines[0].startsWith(name + u": "_s)) << cue.lines[0].toStdString();
                cue.lines[0] = cue.lines[0].mid(name.size() + 2);
            }
            EXPECT_GE(cue.startMs, turn.startMs);
            texts << cue.text();
        }
        EXPECT_EQ(texts.join(u' '), turn.text.simplified());
    }
    EXPECT_EQ(next, cues.size());
}

// ------------------------------------------------------------------------

Note baseNote() {
    Note note;
    note.id = QUuid::createUuid();
    note.title = u"Planning call"_s;
    note.createdAt = QDateTime(QDate(2024, 5, 1), QTime(12, 3, 4, 5), Qt::UTC);
    note.durationMs = 125'000;
    note.state = NoteState::ready;
    note.source = NoteSource::call;
    note.sourceApp = u"us.zoom.xos"_s;
    note.turnsFinal = true;
    return note;
}

// A call whose turns were assembled from its sections' words, so that the
// words and turns agree as they do after processing.
Note assembledNote(const QStringList& speakers) {
    Note note = baseNote();
    const QStringList texts{
        u"Hi everyone, I'm Maria from sales."_s, u"Thanks Maria."_s,
        u"We should ship the new shelves on Friday and review the numbers together with "
        "the whole team before the end of the month, if the trucks are ready."_s};
    QList<TimedWord> words;
    QStringList labels;
    qint64 at = 1000;
    for (qsizetype t = 0; t < texts.size(); ++t) {
        for (const QString& w : texts[t].split(u' ')) {
            words.append({w, at, at + 300, 0});
            labels << speakers[t % speakers.size()];
            at += 400;
        }
        at += 2000;
    }
    NoteSection section;
    section.index = 0;
    section.endMs = at;
    section.closed = section.done = true;
    section.words = words;
    note.sections = {section};
    note.turns = TranscriptAssembler::turns(words, labels);
    return note;
}

QString unescapeMarkdown(QString text) {
    static const QRegularExpression escaped(u"\\\\([!-/:-@\\[-`{-~])"_s);
    return text.replace(escaped, u"\\1"_s);
}

QString lineStartingWith(const QByteArray& document, const QString& start) {
    for (const QString& line : QString::fromUtf8(document).split(u'\n'))
        if (line.startsWith(start))
            return line;
    return {};
}

// ======================================================================== text

TEST(NoteExportText, MarkdownGivesTheHeaderTurnsAndEverySummaryPartPresent) {
    Note note = assembledNote({u"you"_s, u"them"_s});
    note.speakerNames = {{u"you"_s, u"Maria"_s}};
    note.summary = parseJsonText(uR"({
        "overview": "Shipping plans.",
        "keyPoints": [{"text": "Shelves ship Friday", "startMs": 5000}, "Numbers reviewed"],
        "actions": [{"text": "Pack the boxes", "owner": "Duncan", "atMs": 3723000}],
        "openQuestions": [{"text": "Are the trucks ready?", "moment": "1:02"}],
        "topics": [{"title": "Shipping", "moments": [1000, "00:00:09"]}, {"name": 5}],
        "unknown": {"deep": ["kept verbatim, not shown"]}
    })"_s);
    ASSERT_TRUE(note.summary);
    const QByteArray md = NoteExport::markdown(note);
    const QString text = QString::fromUtf8(md);

    EXPECT_TRUE(text.startsWith(u"# Planning call\n"_s)) << md.toStdString();
    EXPECT_EQ(lineStartingWith(md, u"- Source:"_s), u"- Source: Call · Zoom"_s);
    EXPECT_EQ(lineStartingWith(md, u"- Length:"_s), u"- Length: 00:02:05"_s);
    EXPECT_EQ(lineStartingWith(md, u"- Date:"_s),
              u"- Date: "_s + note.createdAt.toLocalTime().toString(u"yyyy-MM-dd HH:mm"_s));
    EXPECT_EQ(lineStartingWith(md, u"- Shelves"_s), u"- Shelves ship Friday (00:00:05)"_s);
    EXPECT_EQ(lineStartingWith(md, u"- Numbers"_s), u"- Numbers reviewed"_s);
    EXPECT_EQ(lineStartingWith(md, u"- Pack"_s), u"- Pack the boxes — Duncan (01:02:03)"_s);
    EXPECT_EQ(lineStartingWith(md, u"- Are"_s), u"- Are the trucks ready? (00:01:02)"_s);
    EXPECT_EQ(lineStartingWith(md, u"- **Shipping"_s), u"- **Shipping** (00:00:01, 00:00:09)"_s);
    EXPECT_FALSE(text.contains(u"### Decisions"_s)) << "an absent key has no heading";
    EXPECT_FALSE(text.contains(u"kept verbatim"_s));
    // Sections in reading order.
    const qsizetype summary = text.indexOf(u"## Summary"_s), keyPoints = text.indexOf(u"### Key"_s),
                    actions = text.indexOf(u"### Actions"_s),
                    transcript = text.indexOf(u"## Transcript"_s);
    EXPECT_TRUE(0 < summary && summary < keyPoints && keyPoints < actions && actions < transcript);

    EXPECT_EQ(lineStartingWith(md, u"**Maria**"_s),
              u"**Maria** (00:00:01): Hi everyone, I'm Maria from sales."_s);
    EXPECT_EQ(lineStartingWith(md, u"**Computer"_s),
              u"**Computer audio** (00:00:05): Thanks Maria."_s);
}

TEST(NoteExportText, MarkdownKeepsOddNamesAndTextsAsTyped) {
    Note note = baseNote();
    note.title = u"*Budget* <b>review</b> & [notes]"_s;
    note.speakerNames = {{u"you"_s, u"Smith, \"Jo\" <jo@x> & *co*"_s}};
    note.turns = {{u"you"_s, 0, 900, u"Use `rm -rf` | not #1 _really_\nnow"_s},
                  {u"unclear"_s, 1000, 1000, u"Yes."_s},
                  {u"room"_s, 2000, 2500, u"Anyone there?"_s}};
    note.summary = Json{{"decisions", Json::array({"<script>"})}, {"keyPoints", 3}};
    const QByteArray md = NoteExport::markdown(note);

    const QString title = lineStartingWith(md, u"# "_s);
    EXPECT_EQ(unescapeMarkdown(title), u"# "_s + note.title);
    // Nothing a renderer would take as markup is left bare.
    for (const QString& line : QString::fromUtf8(md).split(u'\n')) {
        static const QRegularExpression bare(u"(^|[^\\\\])[<>&`|_\\[\\]]"_s);
        EXPECT_FALSE(bare.match(line).hasMatch()) << line.toStdString();
    }
    const QString you = lineStartingWith(md, u"**Smith"_s);
    EXPECT_EQ(unescapeMarkdown(you), u"**Smith, \"Jo\" <jo@x> & *co*** (00:00:00): "
                                     "Use `rm -rf` | not #1 _really_ now"_s);
    EXPECT_FALSE(lineStartingWith(md, u"**Speaker unclear** (00:00:01): Yes."_s).isEmpty());
    // A room recording's turns carry no name.
    EXPECT_FALSE(lineStartingWith(md, u"(00:00:02): Anyone there?"_s).isEmpty());
    EXPECT_EQ(unescapeMarkdown(lineStartingWith(md, u"- "_s + u"\\<"_s)), u"- <script>"_s);
}

TEST(NoteExportText, ANoteWithoutTurnsOrSummaryStillExportsEveryFormat) {
    Note note = baseNote();
    note.source = NoteSource::room;
    note.sourceApp.reset();
    note.durationMs = 0;
    const QString md = QString::fromUtf8(NoteExport::markdown(note));
    EXPECT_TRUE(md.contains(u"This note has no transcript yet."_s));
    EXPECT_FALSE(md.contains(u"## Summary"_s));
    EXPECT_TRUE(md.contains(u"- Source: Microphone only\n"_s));

    EXPECT_TRUE(NoteExport::srt(note).isEmpty());
    const auto vtt = parseVtt(NoteExport::webVtt(note));
    ASSERT_TRUE(vtt);
    EXPECT_TRUE(vtt->isEmpty());

    const auto record = parseJson(NoteExport::json(note));
    ASSERT_TRUE(record);
    EXPECT_EQ((*record)["turns"], Json::array());
    EXPECT_EQ((*record)["words"], Json::array());
    EXPECT_EQ((*record)["speakers"], Json::array());
    EXPECT_TRUE((*record)["summary"].is_null());
    EXPECT_TRUE((*record)["source"]["app"].is_null());
}

TEST(NoteExportText, JsonHoldsTheNoteWithDisplayNamesAndLabelledWords) {
    Note note = assembledNote({u"you"_s, u"them"_s, u"unclear"_s});
    note.speakerNames = {{u"them"_s, u"Duncan, \"the boss\""_s}};
    note.highlights = {{QUuid::createUuid(), 4000, u"Names"_s}};
    note.summary = Json{{"keyPoints", Json::array({{{"text", "Friday"}, {"startMs", 9}}})},
                        {"extra", {{"b", 1}, {"a", 2}}}};
    const auto record = parseJson(NoteExport::json(note));
    ASSERT_TRUE(record);
    const Json& r = *record;

    EXPECT_EQ(r["id"], uuidText(note.id).toStdString());
    EXPECT_EQ(r["title"], "Planning call");
    EXPECT_EQ(QDateTime::fromString(QString::fromStdString(r["createdAt"]), Qt::ISODateWithMs),
              note.createdAt);
    EXPECT_TRUE(QString::fromStdString(r["createdAt"]).endsWith(u'Z'));
    EXPECT_EQ(r["durationMs"], 125000);
    EXPECT_EQ(r["source"],
              (Json{{"kind", "call"}, {"app", "us.zoom.xos"}, {"description", "Call · Zoom"}}));
    EXPECT_EQ(r["speakers"], (Json::array({{{"label", "you"}, {"name", "You"}},
                                           {{"label", "them"}, {"name", "Duncan, \"the boss\""}},
                                           {{"label", "unclear"}, {"name", "Speaker unclear"}}})));
    ASSERT_EQ(r["turns"].size(), size_t(note.turns.size()));
    EXPECT_EQ(r["turns"][1]["name"], "Duncan, \"the boss\"");
    EXPECT_EQ(r["turns"][1]["text"], "Thanks Maria.");
    EXPECT_EQ(r["highlights"], (Json::array({{{"atMs", 4000}, {"label", "Names"}}})));
    // Kept verbatim, in its own key order.
    EXPECT_EQ(r["summary"].dump(), note.summary->dump());

    // Each word carries the label of the turn it was assembled into.
    const QList<TimedWord> words = TranscriptAssembler::joinedWords(note.sections);
    ASSERT_EQ(r["words"].size(), size_t(words.size()));
    for (size_t t = 0, w = 0; t < size_t(note.turns.size()); ++t)
        for (const QString& text : note.turns[qsizetype(t)].text.split(u' ')) {
            EXPECT_EQ(r["words"][w]["text"], text.toStdString());
            EXPECT_EQ(r["words"][w]["speaker"], note.turns[qsizetype(t)].speaker.toStdString());
            ++w;
        }
}

TEST(NoteExportText, EditedTurnsStillLabelTheWordsByTime) {
    Note note = assembledNote({u"you"_s, u"them"_s});
    note.turns[0].text = u"Hello all, this is Maria."_s; // a word fewer than was heard
    const auto record = parseJson(NoteExport::json(note));
    ASSERT_TRUE(record);
    const Json& words = (*record)["words"];
    ASSERT_FALSE(words.empty());
    for (const Json& w : words) {
        const qint64 start = w["startMs"];
        QString expected;
        for (const NoteTurn& turn : note.turns)
            if (turn.startMs <= start && start <= turn.endMs)
                expected = turn.speaker;
        EXPECT_EQ(QString::fromStdString(w["speaker"]), expected);
    }
    const auto vtt = parseVtt(NoteExport::webVtt(note));
    ASSERT_TRUE(vtt);
    expectCuesFollowTurns(*vtt, note, true);
}

// ======================================================================== subtitles

TEST(NoteExportSubtitles, BothFormatsParseAndGiveBackEveryTurn) {
    Note note = assembledNote({u"you"_s, u"them"_s, u"unclear"_s});
    note.speakerNames = {{u"you"_s, u"Smith, \"Jo\" <jo@x> & co"_s}};
    note.turns.append({u"them"_s, 60'000, 61'000, u"a < b && c > d --> e"_s});

    const auto srt = parseSrt(NoteExport::srt(note));
    ASSERT_TRUE(srt) << NoteExport::srt(note).toStdString();
    expectCuesFollowTurns(*srt, note, false);

    const QByteArray vttBytes = NoteExport::webVtt(note);
    const auto vtt = parseVtt(vttBytes);
    ASSERT_TRUE(vtt) << vttBytes.toStdString();
    expectCuesFollowTurns(*vtt, note, true);
    EXPECT_EQ(vtt->size(), srt->size());
}

TEST(NoteExportSubtitles, LongTurnsAreCutIntoReadableCuesOnWordTimes) {
    const Note note = assembledNote({u"you"_s, u"them"_s});
    const NoteTurn& longTurn = note.turns.last();
    ASSERT_GT(longTurn.text.size(), 2 * NoteExport::lineCharacters);
    const auto cues = parseVtt(NoteExport::webVtt(note));
    ASSERT_TRUE(cues);
    QList<qint64> wordStarts, wordEnds;
    for (const TimedWord& w : note.sections[0].words) {
        wordStarts << w.startMs;
        wordEnds << w.endMs;
    }
    int ofLongTurn = 0;
    for (const ParsedCue& cue : *cues) {
        EXPECT_LE(cue.lines.size(), NoteExport::cueLines);
        for (const QString& line : cue.lines)
            EXPECT_LE(line.size(), NoteExport::lineCharacters) << line.toStdString();
        // Each cue begins with its first word and ends with its last.
        EXPECT_TRUE(wordStarts.contains(cue.startMs)) << cue.startMs;
        EXPECT_TRUE(wordEnds.contains(cue.endMs)) << cue.endMs;
        if (cue.startMs >= longTurn.startMs)
            ++ofLongTurn;
    }
    EXPECT_GE(ofLongTurn, 2);
}

TEST(NoteExportSubtitles, TimesOfHoursLongNotesAndInstantWordsAreWritten) {
    Note note = baseNote();
    note.source = NoteSource::room;
    note.durationMs = 27LL * 3'600'000 + 10 * 60'000;
    const qint64 late = ((27LL * 60 + 3) * 60 + 4) * 1000 + 5;
    // Turns without word times: a single word lasting no time, a long turn
    // whose cues are spread over its length.
    note.turns = {
        {u"room"_s, late, late, u"One."_s},
        {u"room"_s, late + 2000, late + 62'000, QString(u"word "_s).repeated(60).trimmed()}};

    const QByteArray srtBytes = NoteExport::srt(note);
    EXPECT_TRUE(srtBytes.startsWith("1\n27:03:04,005 --> 27:03:04,505\nOne.\n\n"))
        << srtBytes.toStdString();
    const auto srt = parseSrt(srtBytes);
    ASSERT_TRUE(srt);
    expectCuesFollowTurns(*srt, note, false);
    const auto vtt = parseVtt(NoteExport::webVtt(note));
    ASSERT_TRUE(vtt);
    expectCuesFollowTurns(*vtt, note, true);
    ASSERT_GE(vtt->size(), 3);
    EXPECT_EQ(vtt->at(0).startMs, late);
    EXPECT_TRUE(vtt->at(0).voice.isEmpty());
    EXPECT_EQ(vtt->at(1).startMs, late + 2000);
    EXPECT_EQ(vtt->back().endMs, late + 62'000);
    for (qsizetype i = 1; i + 1 < vtt->size(); ++i)
        EXPECT_LE(vtt->at(i).endMs, vtt->at(i + 1).startMs);
}

TEST(NoteExportText, FileNamesComeFromTheTitle) {
    Note note = baseNote();
    note.title = u"../Q3: plan/review?"_s;
    const QString name = NoteExport::fileName(note, NoteExportFormat::m4a);
    EXPECT_TRUE(name.endsWith(u".m4a"_s));
    EXPECT_FALSE(name.startsWith(u'.'));
    EXPECT_FALSE(name.contains(u'/'));
    EXPECT_TRUE(name.contains(u"plan"_s));
    note.title = u"  ..  "_s;
    EXPECT_EQ(NoteExport::fileName(note, NoteExportFormat::srt), u"Note.srt"_s);
}

// ======================================================================== audio

constexpr int rate = 16000;

// A tone whose pitch says where in the note it was: each second has its own
// frequency, so audio laid twice or in the wrong place shows.
std::vector<float> markedSignal(qint64 seconds) {
    std::vector<float> samples(size_t(seconds * rate));
    for (size_t i = 0; i < samples.size(); ++i) {
        const double second = double(i / rate);
        samples[i] =
            float(0.4 * std::sin(2 * std::numbers::pi * (200 + 20 * second) * double(i) / rate));
    }
    return samples;
}

// The strongest of the seconds' frequencies in `samples` (Goertzel).
int secondHeard(std::span<const qint16> samples, int seconds) {
    int best = -1;
    double bestPower = 0;
    for (int s = 0; s < seconds; ++s) {
        const double w = 2 * std::numbers::pi * (200 + 20 * s) / rate;
        double s1 = 0, s2 = 0;
        for (qint16 x : samples) {
            const double s0 = x + 2 * std::cos(w) * s1 - s2;
            s2 = s1;
            s1 = s0;
        }
        const double power = s1 * s1 + s2 * s2 - 2 * std::cos(w) * s1 * s2;
        if (power > bestPower) {
            bestPower = power;
            best = s;
        }
    }
    return best;
}

std::vector<qint16> decoded(const QString& path) {
    std::vector<qint16> samples;
    const auto result = AudioDecoder::decode(path, [&](std::span<const qint16> block) {
        samples.insert(samples.end(), block.begin(), block.end());
        return true;
    });
    EXPECT_TRUE(result.has_value()) << path.toStdString();
    return samples;
}

class NoteAudioExport : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(root.isValid() && output.isValid()); }

    // A note recorded through the section writer: 30-s sections, each after
    // the first carrying the last 2 s of the one before.
    Note recorded(qint64 seconds) {
        Note note = baseNote();
        note.title = u"Tones"_s;
        EXPECT_TRUE(store.create(note).has_value());
        const auto sections =
            SectionWriter::record(store.noteDirectory(note.id), markedSignal(seconds), {});
        EXPECT_TRUE(sections.has_value());
        const auto updated = store.update(note.id, [&](Note& n) {
            for (const auto& s : *sections)
                n.sections.append({s.index, s.startMs, s.endMs, true, true, {}, {}});
            n.durationMs = sections->last().endMs;
        });
        EXPECT_TRUE(updated.has_value());
        return *updated;
    }

    QStringList entries() const {
        return QDir(output.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QTemporaryDir root;
    QTemporaryDir output;
    NotesStore store{root.path()};
};

TEST_F(NoteAudioExport, OverlappingSectionsAreHeardOnceAtTheirPlace) {
    const Note note = recorded(65);
    ASSERT_EQ(note.sections.size(), 3);
    ASSERT_EQ(note.sections[1].startMs, 28'000);
    const QString path = output.filePath(u"call.m4a"_s);
    QList<qint64> reported;
    const auto written = NoteExport::writeAudio(store, note, path, [&](qint64 at, qint64 total) {
        EXPECT_EQ(total, note.durationMs);
        reported << at;
        return true;
    });
    ASSERT_TRUE(written.has_value()) << written.error().message.toStdString();
    EXPECT_EQ(entries(), QStringList{u"call.m4a"_s});
    EXPECT_FALSE(QFile(path).permissions().testAnyFlags(QFile::ReadOther | QFile::ReadGroup));
    ASSERT_FALSE(reported.isEmpty());
    EXPECT_TRUE(std::ranges::is_sorted(reported));
    EXPECT_EQ(reported.back(), note.durationMs);

    const std::vector<qint16> audio = decoded(path);
    EXPECT_NEAR(double(audio.size()) / rate, note.durationMs / 1000.0, 0.05);
    // Every second, the overlaps included, plays the pitch of that second.
    for (int s = 0; s < 64; ++s) {
        const size_t from = size_t(s) * rate + rate / 8, length = rate * 3 / 4;
        if (from + length > audio.size())
            break;
        EXPECT_EQ(secondHeard(std::span(audio).subspan(from, length), 65), s) << "second " << s;
    }
}

TEST_F(NoteAudioExport, GapsAndAMissingTailAreSilenceOfTheNotesLength) {
    Note note = recorded(40);
    // The note says it lasted longer than its audio, and a section record
    // starts later than its file's audio does.
    note.durationMs = 50'000;
    note.sections[1].startMs += 3000;
    const QString path = output.filePath(u"gaps.m4a"_s);
    ASSERT_TRUE(NoteExport::writeAudio(store, note, path).has_value());
    const std::vector<qint16> audio = decoded(path);
    EXPECT_NEAR(double(audio.size()) / rate, 50.0, 0.05);
    const auto loudest = [&](double from, double to) {
        qint16 peak = 0;
        for (size_t i = size_t(from * rate); i < size_t(to * rate) && i < audio.size(); ++i)
            peak = std::max<qint16>(peak, qint16(std::abs(audio[i])));
        return peak;
    };
    EXPECT_GT(loudest(29.2, 30.8), 5000); // section 0 runs to 30 s
    EXPECT_LT(loudest(30.2, 30.8), 200);  // then nothing until 31 s
    EXPECT_GT(loudest(31.2, 43.0), 5000);
    EXPECT_LT(loudest(43.2, 50.0), 200);
    EXPECT_EQ(secondHeard(std::span(audio).subspan(size_t(35.1 * rate), rate * 3 / 4), 40), 32);
}

TEST_F(NoteAudioExport, MissingOrDeletedAudioIsRefusedWithItsReason) {
    Note note = recorded(62);
    const QString path = output.filePath(u"out.m4a"_s);
    ASSERT_TRUE(QFile::remove(store.sectionAudioPath(note.id, 1)));
    const auto missing = NoteExport::writeAudio(store, note, path);
    ASSERT_FALSE(missing.has_value());
    EXPECT_EQ(missing.error().kind, NoteExportError::Kind::noAudio);
    EXPECT_TRUE(missing.error().message.contains(u"part-1.wav"_s));

    note.audioRemoved = true;
    const auto removed = NoteExport::writeAudio(store, note, path);
    ASSERT_FALSE(removed.has_value());
    EXPECT_EQ(removed.error().kind, NoteExportError::Kind::noAudio);
    EXPECT_NE(removed.error().message, missing.error().message);

    Note empty = baseNote();
    EXPECT_FALSE(NoteExport::writeAudio(store, empty, path).has_value());

    // A section file that is a link is refused, not followed.
    note.audioRemoved = false;
    ASSERT_TRUE(
        QFile::link(store.sectionAudioPath(note.id, 0), store.sectionAudioPath(note.id, 1)));
    const auto linked = NoteExport::writeAudio(store, note, path);
    ASSERT_FALSE(linked.has_value());
    EXPECT_EQ(linked.error().kind, NoteExportError::Kind::unreadable);
    EXPECT_TRUE(entries().isEmpty()) << entries().join(u", "_s).toStdString();
}

TEST_F(NoteAudioExport, SectionsGoneAfterProcessingLeaveTheFinishedRecording) {
    Note note = recorded(35);
    const QString finished = output.filePath(u"first.m4a"_s);
    ASSERT_TRUE(NoteExport::writeAudio(store, note, finished).has_value());
    ASSERT_TRUE(QFile::copy(finished, store.noteDirectory(note.id) + u"/audio.m4a"_s));
    note.audioFile = u"audio.m4a"_s;
    for (const NoteSection& s : note.sections)
        ASSERT_TRUE(QFile::remove(store.sectionAudioPath(note.id, s.index)));
    const QString again = output.filePath(u"again.m4a"_s);
    const auto copied = NoteExport::writeAudio(store, note, again);
    ASSERT_TRUE(copied.has_value()) << copied.error().message.toStdString();
    QFile a(finished), b(again);
    ASSERT_TRUE(a.open(QIODevice::ReadOnly) && b.open(QIODevice::ReadOnly));
    EXPECT_EQ(a.readAll(), b.readAll());
}

TEST_F(NoteAudioExport, AFullOrUnusableFolderFailsWithASentenceAndLeavesNothing) {
    const Note note = recorded(62);
    // An old export stays as it was when its replacement fails.
    const QString path = output.filePath(u"kept.m4a"_s);
    {
        QFile old(path);
        ASSERT_TRUE(old.open(QIODevice::WriteOnly));
        old.write("old export");
    }

    // The disk fills during the write: the file size limit stands in for it.
    struct rlimit previous {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &previous), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = previous;
    small.rlim_cur = 40'000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const auto filled = NoteExport::writeAudio(store, note, path);
    Note wordy = note;
    for (int i = 0; i < 2000; ++i)
        wordy.turns.append({u"you"_s, i * 1000, i * 1000 + 900, u"Some words of a long call."_s});
    const auto filledText = NoteExport::write(store, wordy, NoteExportFormat::json, path);
    setrlimit(RLIMIT_FSIZE, &previous);
    std::signal(SIGXFSZ, handler);
    ASSERT_FALSE(filled.has_value());
    EXPECT_EQ(filled.error().kind, NoteExportError::Kind::unwritable);
    EXPECT_TRUE(filled.error().message.startsWith(u"Could not save "_s + path + u": "_s))
        << filled.error().message.toStdString();
    ASSERT_FALSE(filledText.has_value());
    EXPECT_EQ(filledText.error().kind, NoteExportError::Kind::unwritable);
    EXPECT_TRUE(filledText.error().message.startsWith(u"Could not save "_s + path + u": "_s));
    EXPECT_EQ(entries(), QStringList{u"kept.m4a"_s});

    // A folder where no new file can be made.
    const QString cramped = crampedFolder(output.path()) + u"/x.m4a"_s;
    const auto refused = NoteExport::writeAudio(store, note, cramped);
    ASSERT_FALSE(refused.has_value());
    EXPECT_EQ(refused.error().kind, NoteExportError::Kind::unwritable);
    EXPECT_TRUE(refused.error().message.startsWith(u"Could not save "_s + cramped + u": "_s))
        << refused.error().message.toStdString();

    // Stopped half way: nothing written, the old file untouched.
    int calls = 0;
    const auto stopped =
        NoteExport::writeAudio(store, note, path, [&](qint64, qint64) { return ++calls < 5; });
    ASSERT_FALSE(stopped.has_value());
    EXPECT_EQ(stopped.error().kind, NoteExportError::Kind::stopped);
    QFile old(path);
    ASSERT_TRUE(old.open(QIODevice::ReadOnly));
    EXPECT_EQ(old.readAll(), "old export");
    QStringList left = entries();
    left.removeAll(u"d"_s.repeated(200));
    EXPECT_EQ(left, QStringList{u"kept.m4a"_s});
}

} // namespace
