#include "model/DictationLanguage.h"
#include "model/DictationModel.h"
#include "model/DictationStyle.h"
#include "model/RecordingDuration.h"
#include "model/WritingSurface.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

TEST(DictationStyle, cleanIsStoredAsCleanButSentAsLight) {
    EXPECT_EQ(rawValue(DictationStyle::clean), u"clean"_s);
    EXPECT_EQ(apiValue(DictationStyle::clean), u"light"_s);
    EXPECT_EQ(Json(DictationStyle::clean), Json("clean"));
    EXPECT_FALSE(fromRawValue<DictationStyle>(u"light"_s).has_value());
    for (auto style : allCases<DictationStyle>()) {
        if (style != DictationStyle::clean) {
            EXPECT_EQ(apiValue(style), rawValue(style).toString());
        }
    }
}

TEST(DictationStyle, onlyExactAndPromptKeepCommandsLiteral) {
    for (auto style : allCases<DictationStyle>()) {
        EXPECT_EQ(keepsCommandsLiteral(style),
                  style == DictationStyle::exact || style == DictationStyle::prompt);
        EXPECT_FALSE(title(style).isEmpty());
    }
}

TEST(RecordingDuration, acceptsExactlyTheListedMinutes) {
    EXPECT_FALSE(fromRawValue<RecordingDuration>(15).has_value());
    EXPECT_FALSE(fromRawValue<RecordingDuration>(0).has_value());
    ASSERT_EQ(fromRawValue<RecordingDuration>(60), RecordingDuration::sixty);
    EXPECT_EQ(limitSeconds(RecordingDuration::sixty), 3600);
    EXPECT_EQ(Json(RecordingDuration::ten), Json(10));
    EXPECT_EQ(Json(10).get<RecordingDuration>(), RecordingDuration::ten);
    EXPECT_THROW(Json(15).get<RecordingDuration>(), std::invalid_argument);
    EXPECT_THROW(Json("10").get<RecordingDuration>(), std::invalid_argument);
    int previous = 0;
    for (auto d : allCases<RecordingDuration>()) {
        EXPECT_EQ(limitSeconds(d), rawValue(d) * 60);
        EXPECT_GT(rawValue(d), previous);
        previous = rawValue(d);
    }
}

TEST(RawValues, roundTripEveryCaseAndRejectUnknownValues) {
    EXPECT_EQ(allCases<DictationLanguage>().front(), DictationLanguage::automatic);
    EXPECT_EQ(rawValue(DictationLanguage::automatic), u"auto"_s);
    EXPECT_EQ(title(DictationLanguage::ukrainian), u"Ukrainian"_s);
    for (auto l : allCases<DictationLanguage>()) {
        EXPECT_EQ(fromRawValue<DictationLanguage>(rawValue(l).toString()), l);
        EXPECT_FALSE(title(l).isEmpty());
    }
    for (auto m : allCases<DictationModel>()) {
        EXPECT_EQ(Json(m).get<DictationModel>(), m);
        EXPECT_FALSE(title(m).isEmpty());
    }
    EXPECT_EQ(fromRawValue<DictationModel>(u"pocketsphinx-en-us"_s), DictationModel::offline);
    EXPECT_EQ(fromRawValue<DictationModel>(u"parlevo"_s), DictationModel::hosted);
    EXPECT_FALSE(fromRawValue<DictationModel>(u"Parlevo"_s).has_value());
    EXPECT_EQ(fromRawValue<WritingSurface>(u"slack"_s), WritingSurface::slack);
    EXPECT_EQ(fromRawValue<AppSection>(u"settings"_s), AppSection::settings);
    EXPECT_THROW(Json("").get<AppSection>(), std::invalid_argument);
}
