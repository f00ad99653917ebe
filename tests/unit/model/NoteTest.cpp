#include "model/Note.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString idText = u"6F9619FF-8B86-D011-B42D-00C04FC964FF"_s;

Note decoded(const Json& j) {
    auto note = decodeNote(jsonBytes(j));
    EXPECT_TRUE(note.has_value()) << j.dump();
    return note.value_or(Note{});
}

} // namespace

TEST(NoteCodec, noteWithOnlyAnIdTakesEveryDefault) {
    const Note note = decoded(Json{{"id", idText}});
    EXPECT_EQ(note.id, QUuid::fromString(idText));
    EXPECT_EQ(note.title, u"New recording"_s);
    EXPECT_FALSE(note.titleEdited);
    EXPECT_EQ(note.createdAt.toMSecsSinceEpoch(), 0);
    EXPECT_EQ(note.state, NoteState::interrupted);
    EXPECT_EQ(note.source, NoteSource::room);
    EXPECT_EQ(note.language, u"auto"_s);
    EXPECT_EQ(note.limitMs, 7200000);
    EXPECT_TRUE(note.sections.isEmpty());
    EXPECT_TRUE(note.turns.isEmpty());
    EXPECT_TRUE(note.highlights.isEmpty());
    EXPECT_TRUE(note.speakerNames.isEmpty());
    EXPECT_TRUE(note.summaryCache.isEmpty());
    EXPECT_FALSE(note.summary || note.sourceApp || note.audioFile || note.originalTurns);
    EXPECT_EQ(note, Note{.id = note.id});

    EXPECT_FALSE(decodeNote(jsonBytes(Json{{"title", "no id"}})));
    EXPECT_FALSE(decodeNote(jsonBytes(Json{{"id", "not-a-uuid"}})));
    EXPECT_FALSE(decodeNote(jsonBytes(Json::array({idText}))));
    EXPECT_FALSE(decodeNote("{\"id\": \"6F9619FF-8B86-D011-B42D-00C04FC964FF\""));
}

TEST(NoteCodec, wrongTypesAndUnknownValuesFallBackWithoutLosingTheRest) {
    const Json j = {{"id", idText},
                    {"title", 42},
                    {"titleEdited", "yes"},
                    {"createdAt", "2024-01-01"},
                    {"durationMs", 1.5},
                    {"state", "paused"},
                    {"source", 1},
                    {"sourceApp", false},
                    {"message", "kept"},
                    {"language", Json::array()},
                    {"limitMs", "long"},
                    {"summary", "not an object"},
                    {"summaryCache", {{"good", {{"k", 1}}}, {"bad", 3}}},
                    {"speakerNames", {{"them", "Ana"}, {"you", 7}}},
                    {"revision", 12.0},
                    {"dismissedNameSuggestions", {"a", 1, "b"}}};
    const Note note = decoded(j);
    EXPECT_EQ(note.title, u"New recording"_s);
    EXPECT_FALSE(note.titleEdited);
    EXPECT_EQ(note.createdAt.toMSecsSinceEpoch(), 0);
    EXPECT_EQ(note.durationMs, 0);
    EXPECT_EQ(note.state, NoteState::interrupted);
    EXPECT_EQ(note.source, NoteSource::room);
    EXPECT_FALSE(note.sourceApp);
    EXPECT_EQ(note.message, u"kept"_s);
    EXPECT_EQ(note.language, u"auto"_s);
    EXPECT_EQ(note.limitMs, 7200000);
    EXPECT_FALSE(note.summary);
    EXPECT_EQ(note.summaryCache.keys(), QStringList{u"good"_s});
    EXPECT_EQ(note.speakerNames, (QMap<QString, QString>{{u"them"_s, u"Ana"_s}}));
    EXPECT_EQ(note.revision, 12);
    EXPECT_EQ(note.dismissedNameSuggestions, (QStringList{u"a"_s, u"b"_s}));
}

TEST(NoteCodec, listElementsAreCheckedOneByOne) {
    const Json j = {
        {"id", idText},
        {"sections",
         {{{"index", 0}, {"startMs", 1000}},
          {{"startMs", 5}},
          {{"index", 1},
           {"startMs", 30000},
           {"endMs", 60000},
           {"done", true},
           {"words",
            {{{"text", "hi"}, {"startMs", 1}, {"endMs", 2}, {"section", 1}}, {{"text", "x"}}}}}}},
        {"turns",
         {{{"speaker", "you"}, {"startMs", 0}, {"endMs", 10}, {"text", "Hello"}},
          {{"speaker", "them"}, {"startMs", 0}, {"text", "no end"}}}},
        {"highlights",
         {{{"atMs", 500}},
          {{"id", idText}, {"atMs", 7}, {"label", "Key"}},
          {{"label", "no time"}}}},
        {"originalTurns", Json::array()}};
    const Note note = decoded(j);
    ASSERT_EQ(note.sections.size(), 2);
    EXPECT_EQ(note.sections[0].endMs, 1000);
    EXPECT_EQ(note.sections[1].index, 1);
    EXPECT_EQ(note.sections[1].words.size(), 1);
    EXPECT_EQ(note.completedSections(), 1);
    ASSERT_EQ(note.turns.size(), 1);
    EXPECT_EQ(note.turns[0].text, u"Hello"_s);
    ASSERT_EQ(note.highlights.size(), 2);
    EXPECT_FALSE(note.highlights[0].id.isNull());
    EXPECT_EQ(note.highlights[0].label, u""_s);
    EXPECT_EQ(note.highlights[1].id, QUuid::fromString(idText));
    ASSERT_TRUE(note.originalTurns);
    EXPECT_TRUE(note.originalTurns->isEmpty());
}

TEST(NoteCodec, encodesWithoutAbsentOptionalsAndRoundTrips) {
    Note note{.id = QUuid::fromString(idText)};
    note.createdAt = QDateTime(QDate(2024, 5, 6), QTime(7, 8, 9, 123), Qt::UTC);
    note.sections.append(NoteSection{.index = 3, .startMs = 10});
    const Json bare = Json::parse(encodeNote(note).toStdString());
    for (const char* optional : {"sourceApp", "summary", "audioFile", "originalTurns"})
        EXPECT_FALSE(bare.contains(optional)) << optional;
    EXPECT_EQ(bare["id"], idText.toStdString());
    EXPECT_EQ(bare["createdAt"], Json(1714979289123));
    EXPECT_EQ(bare["state"], "interrupted");
    EXPECT_EQ(decodeNote(encodeNote(note)), note);

    note.sourceApp = u"us.zoom.xos"_s;
    note.summary = Json{{"title", "Plan"}};
    note.summaryCache.insert(u"k"_s, Json{{"title", "Old"}});
    note.audioFile = u"audio.m4a"_s;
    note.originalTurns = QList<NoteTurn>{{u"you"_s, 0, 5, u"first"_s}};
    note.highlights.append({QUuid::createUuid(), 42, u"here"_s});
    note.speakerNames.insert(u"them"_s, u"Ana"_s);
    note.state = NoteState::retry;
    note.source = NoteSource::call;
    EXPECT_EQ(decodeNote(encodeNote(note)), note);
}

TEST(NoteDerived, displayNamePrefersTrimmedUserNames) {
    Note note;
    EXPECT_EQ(note.displayName(u"you"_s), u"You"_s);
    EXPECT_EQ(note.displayName(u"them"_s), u"Computer audio"_s);
    EXPECT_EQ(note.displayName(u"unclear"_s), u"Speaker unclear"_s);
    EXPECT_EQ(note.displayName(u"speaker 3"_s), u""_s);
    EXPECT_EQ(note.displayName(u"Them"_s), u""_s);
    note.speakerNames.insert(u"them"_s, u" \n\t "_s);
    EXPECT_EQ(note.displayName(u"them"_s), u"Computer audio"_s);
    note.speakerNames.insert(u"them"_s, u"  Ana Lima\n"_s);
    EXPECT_EQ(note.displayName(u"them"_s), u"Ana Lima"_s);
    note.speakerNames.insert(u"speaker 3"_s, u"Bo"_s);
    EXPECT_EQ(note.displayName(u"speaker 3"_s), u"Bo"_s);
}

TEST(NoteDerived, transcriptPreviewAndSource) {
    Note note;
    EXPECT_EQ(note.transcriptText(), u""_s);
    EXPECT_EQ(note.preview(), u""_s);
    note.message = u"Transcription failed."_s;
    EXPECT_EQ(note.preview(), u"Transcription failed."_s);
    note.sections.append(NoteSection{.transcript = u"live  words"_s});
    EXPECT_EQ(note.preview(), u"live words"_s);
    note.turns = {{u"you"_s, 0, 1, u"First line."_s}, {u"them"_s, 1, 2, u"Second\nline."_s}};
    EXPECT_EQ(note.transcriptText(), u"First line.\n\nSecond\nline."_s);
    EXPECT_EQ(note.preview(), u"First line. Second line."_s);
    note.turns = {{u"you"_s, 0, 1, QString(300, u'a') + u" tail"_s}};
    EXPECT_LE(note.preview().size(), 200);
    EXPECT_TRUE(note.preview().endsWith(u'…'));

    EXPECT_EQ(note.sourceDescription(), u"Microphone only"_s);
    note.source = NoteSource::call;
    EXPECT_EQ(note.sourceDescription(), u"Call"_s);
    note.sourceApp = u"us.zoom.xos"_s;
    EXPECT_EQ(note.sourceDescription(), u"Call · Zoom"_s);
    EXPECT_EQ(callAppName(u"web:meet.google.com"_s), u"Google Meet"_s);
    EXPECT_EQ(callAppName(u"web:acme.zoom.us"_s), u"Zoom"_s);
    EXPECT_EQ(callAppName(u"web:www.example.org"_s), u"example.org"_s);
    EXPECT_EQ(callAppName(u"org.example.Caller"_s), u"Caller"_s);
}

TEST(NoteDerived, searchIgnoresCaseAndAccentsAndNeedsEveryWord) {
    Note note;
    note.title = u"Café planning"_s;
    note.turns = {{u"you"_s, 0, 1, u"We ship the Résumé feature"_s}};
    note.summary = Json{{"points", {{{"text", "Budget approved"}}}}};
    note.highlights.append({QUuid::createUuid(), 5, u"Deadline"_s});
    EXPECT_TRUE(note.matches(u""_s));
    EXPECT_TRUE(note.matches(u"  "_s));
    EXPECT_TRUE(note.matches(u"CAFE"_s));
    EXPECT_TRUE(note.matches(u"resume ship"_s));
    EXPECT_TRUE(note.matches(u"budget"_s));
    EXPECT_TRUE(note.matches(u"deadline"_s));
    EXPECT_FALSE(note.matches(u"resume launch"_s));
    EXPECT_FALSE(note.matches(u"planningwe"_s));
}
