#pragma once

// The text-finishing scripts (dictation-intelligence.js and
// dictation-prompts.js) evaluated once in one QJSEngine; every call goes
// through here. Lives on the thread that created it.

#include "TranscriptionServiceError.h"
#include "model/DictationLanguage.h"
#include "model/DictationStyle.h"
#include "model/DictionaryRecords.h"
#include "model/Json.h"
#include "model/WritingSurface.h"

#include <QString>

#include <expected>
#include <memory>

namespace quendra {

// What the finishing pass knows about the dictation and the field it goes to.
struct FinishingContext {
    DictationStyle style = DictationStyle::clean;
    DictationLanguage language = DictationLanguage::english;
    QList<PersonalDictionaryEntry> dictionary;
    // Where the text goes, worked out once from the target application by
    // WritingDestinations; the hosted service is sent the same. None: an
    // ordinary field.
    std::optional<WritingSurface> surface;
    QString contextBefore;
    QString contextAfter;
    QString conversationContext;
    bool replyAssist = false;
    // The recorder heard speech: a lone courtesy phrase ("Thank you.") is then
    // kept rather than taken for what recognisers write on silence.
    bool speechHeard = false;
};

struct FinishedText {
    QString transcript;              // what is inserted
    QString triggerTranscript;       // where spoken commands and snippet triggers are looked for
    bool reliable = true;            // false: empty, filler-only or hallucinated boilerplate
    bool formattingFallback = false; // a style that wants a language model got the basic cleanup
};

class DictationIntelligence {
public:
    // `resourceDirectory` holds the two scripts; empty means
    // defaultResourceDirectory().
    explicit DictationIntelligence(QString resourceDirectory = {});
    ~DictationIntelligence();

    // The local finishing pass, for every engine but the hosted one:
    // prepareSpokenText, cleanSpeechDisfluencies, applyPreferredSpellings,
    // applyContextNameSpellings, isExplicitReplyIntent,
    // reliableDictationTranscript, finishDictationText.
    // `modelFormatted`: a language model already formatted the text.
    std::expected<FinishedText, TranscriptionServiceError> finish(const QString& rawTranscript,
                                                                  const FinishingContext& context,
                                                                  bool modelFormatted = false);

    // Chat messages ([{role, content}...]) asking a language model to format
    // `rawTranscript` for the context's style.
    std::expected<Json, TranscriptionServiceError>
    buildCleanupMessages(const QString& rawTranscript, const FinishingContext& context);
    std::expected<bool, TranscriptionServiceError>
    cleanupIsSafeForMode(const QString& rawTranscript, const QString& candidate,
                         DictationStyle style);
    std::expected<QString, TranscriptionServiceError>
    mergeCleanCandidate(const QString& rawTranscript, const QString& candidate,
                        DictationStyle style);

    // Calls any script function by name with JSON arguments; for tests and
    // the command line.
    std::expected<Json, TranscriptionServiceError> call(const QString& function,
                                                        const Json& arguments);

    // The most text one call takes, in UTF-16 units; longer text is refused
    // with textTooLong. Three times an hour of fast speech, and well short of
    // the arrays of half a million pieces on which the script engine crashes.
    // The field's context is read only near the cursor: a quarter of this on
    // each side and of the conversation.
    static constexpr qsizetype longestText = 200'000;

    static inline const QString intelligenceScript = QStringLiteral("dictation-intelligence.js");
    static inline const QString promptsScript = QStringLiteral("dictation-prompts.js");

    // ProgramFolders::resources(): the installed data folder, or the source
    // tree's resources for a program of the build tree.
    static QString defaultResourceDirectory();

private:
    struct Engine;
    std::expected<Engine*, TranscriptionServiceError> engine();
    QString directory;
    std::unique_ptr<Engine> built;
};

} // namespace quendra
