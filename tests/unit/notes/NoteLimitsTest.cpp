#include "model/Note.h"
#include "notes/NotesStore.h"

#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

const std::string idText = "6F9619FF-8B86-D011-B42D-00C04FC964FF";

// A record with one of each entry that carries a time.
Json fullRecord() {
    const Json word = {{"text", "Hi"}, {"startMs", 100}, {"endMs", 400}, {"section", 0}};
    const Json turn = {{"speaker", "you"}, {"startMs", 100}, {"endMs", 400}, {"text", "Hi"}};
    return {
        {"id", idText},
        {"durationMs", 1000},
        {"limitMs", 7'200'000},
        {"revision", 3},
        {"sections",
         Json::array(
             {{{"index", 0}, {"startMs", 0}, {"endMs", 1000}, {"words", Json::array({word})}}})},
        {"turns", Json::array({turn})},
        {"originalTurns", Json::array({turn})},
        {"highlights", Json::array({{{"atMs", 500}}})}};
}

const char* const timePointers[] = {
    "/durationMs",
    "/limitMs",
    "/sections/0/startMs",
    "/sections/0/endMs",
    "/sections/0/words/0/startMs",
    "/sections/0/words/0/endMs",
    "/turns/0/startMs",
    "/turns/0/endMs",
    "/originalTurns/0/endMs",
    "/highlights/0/atMs",
};

// "/sections/0/words/0/startMs" as the sentence names it: "sections[0].words[0].startMs".
QString placeName(const std::string& pointer) {
    QString name;
    for (const QString& part : QString::fromStdString(pointer).split(u'/', Qt::SkipEmptyParts)) {
        bool index = false;
        part.toInt(&index);
        name += index ? u'[' + part + u']' : (name.isEmpty() ? part : u'.' + part);
    }
    return name;
}

StoreResult<Note> decodedWith(const char* pointer, const Json& value) {
    Json record = fullRecord();
    record[Json::json_pointer(pointer)] = value;
    return decodeNote(jsonBytes(record));
}

} // namespace

TEST(NoteLimits, everyTimeIsReadUpToTheLongestNoteAndRefusedPastItOrBelowZero) {
    ASSERT_TRUE(decodeNote(jsonBytes(fullRecord())));
    for (const char* pointer : timePointers) {
        SCOPED_TRACE(pointer);
        EXPECT_TRUE(decodedWith(pointer, NoteLimits::longestMs));
        for (const Json& wrong : {Json(NoteLimits::longestMs + 1), Json(1'000'000'000'000'000),
                                  Json(-1), Json(1e300)}) {
            const auto note = decodedWith(pointer, wrong);
            ASSERT_FALSE(note);
            EXPECT_EQ(note.error().kind, StoreError::Kind::damaged);
            EXPECT_TRUE(note.error().message.contains(placeName(pointer) + u" is "_s))
                << note.error().message.toStdString();
        }
    }
}

TEST(NoteLimits, countsSectionNumbersAndRevisionsPastTheLimitsAreRefused) {
    Json sections = Json::array();
    for (qsizetype i = 0; i < NoteLimits::mostSections; ++i)
        sections.push_back({{"index", i}});
    Json record = {{"id", idText}, {"sections", sections}};
    const auto full = decodeNote(jsonBytes(record));
    ASSERT_TRUE(full);
    EXPECT_EQ(full->sections.size(), NoteLimits::mostSections);
    record["sections"].push_back({{"index", 0}});
    const auto over = decodeNote(jsonBytes(record));
    ASSERT_FALSE(over);
    EXPECT_TRUE(over.error().message.contains(
        u"sections holds %1 entries"_s.arg(NoteLimits::mostSections + 1)));

    EXPECT_FALSE(decodedWith("/sections/0/index", NoteLimits::mostSections));
    EXPECT_FALSE(decodedWith("/sections/0/index", -1));
    EXPECT_TRUE(decodedWith("/sections/0/index", NoteLimits::mostSections - 1));
    EXPECT_FALSE(decodedWith("/revision", NoteLimits::highestRevision + 1));
    EXPECT_FALSE(decodedWith("/revision", -1));
}

TEST(NoteLimits, deepNestingAndBrokenJsonAreToldApart) {
    const QByteArray deep = "{\"id\":\"" + QByteArray::fromStdString(idText) +
                            "\",\"summary\":" + QByteArray(20'000, '[') + QByteArray(20'000, ']') +
                            "}";
    const auto nested = decodeNote(deep);
    ASSERT_FALSE(nested);
    EXPECT_TRUE(nested.error().message.contains(u"nests deeper"_s));
    const auto broken = decodeNote("{\"id\":");
    ASSERT_FALSE(broken);
    EXPECT_TRUE(broken.error().message.contains(u"not valid JSON"_s));
}

TEST(NoteLimits, theStoreNeverWritesANoteItCouldNotReadBack) {
    QTemporaryDir temp;
    NotesStore store(temp.path());
    Note note;
    note.id = QUuid::createUuid();
    note.sections = {NoteSection{.index = 0, .startMs = 0, .endMs = 1000}};
    ASSERT_TRUE(store.create(note));

    const auto changed =
        store.update(note.id, [](Note& n) { n.sections[0].endMs = NoteLimits::longestMs + 1; });
    ASSERT_FALSE(changed);
    EXPECT_EQ(changed.error().kind, StoreError::Kind::invalid);
    EXPECT_TRUE(changed.error().message.contains(u"sections[0].endMs"_s));
    EXPECT_EQ(store.load(note.id), note);
}
