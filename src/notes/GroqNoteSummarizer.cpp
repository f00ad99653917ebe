#include "notes/GroqNoteSummarizer.h"

#include "transcription/GroqEngine.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// A whole hour of talk is about 15,000 tokens; the reply is far shorter.
constexpr int replyTokens = 4096;
constexpr int timeoutSec = 75;

const QString summaryInstructions =
    u"You summarise the transcript of a call or meeting. Use only what the transcript says; "
    "never add names, facts or numbers it does not contain. Each transcript line starts with "
    "its moment in milliseconds, as [atMs=N]. Reply with one JSON object with the keys "
    "\"title\" (at most eight words), \"overview\" (one or two sentences), and the lists "
    "\"keyPoints\", \"decisions\", \"actions\", \"openQuestions\" and \"topics\". Every list "
    "item is an object {\"text\": ..., \"atMs\": N} where N is copied from the line the item "
    "comes from; an action may add \"owner\". Leave a list empty when the transcript has "
    "nothing for it. Write in the language of the transcript."_s;

const QString answerInstructions =
    u"You answer a question about the transcript of a call or meeting, using only what the "
    "transcript says. When it does not say, answer that the recording does not say. Each "
    "transcript line starts with its moment in milliseconds, as [atMs=N]. Reply with one "
    "JSON object {\"text\": answer, \"citations\": [{\"atMs\": N}, ...]} citing the lines "
    "the answer comes from."_s;

} // namespace

GroqNoteSummarizer::GroqNoteSummarizer(std::shared_ptr<GroqEngine> groq)
    : groq(std::move(groq)) {}

QString GroqNoteSummarizer::transcriptLines(const QList<SummaryPassage>& passages) {
    QString out;
    for (const SummaryPassage& passage : passages) {
        QString line = passage.text;
        line.replace(u'\n', u' ');
        out += u"[atMs=%1] %2\n"_s.arg(passage.startMs).arg(line);
    }
    return out;
}

// Every value an await takes is made before it: GCC 12 destroys the
// temporaries of an await expression twice.
QCoro::Task<SummaryResult> GroqNoteSummarizer::summarize(QList<SummaryPassage> passages,
                                                         Cancellation cancel) {
    const QString transcript = transcriptLines(passages);
    co_return co_await complete(summaryInstructions, transcript, cancel);
}

QCoro::Task<SummaryResult> GroqNoteSummarizer::ask(QString question, QList<SummaryPassage> passages,
                                                   Cancellation cancel) {
    const QString content = transcriptLines(passages) + u"\nQuestion: "_s + question.simplified();
    co_return co_await complete(answerInstructions, content, cancel);
}

QCoro::Task<SummaryResult> GroqNoteSummarizer::complete(QString instructions, QString content,
                                                        Cancellation cancel) {
    const std::optional<QString> key = groq->storedKey();
    if (!key)
        co_return std::unexpected(SummaryError{GroqEngine::Sentences::noKey, false});
    const Json messages = Json::array({
        Json{{"role", "system"}, {"content", instructions.toStdString()}},
        Json{{"role", "user"}, {"content", content.toStdString()}},
    });
    const std::shared_ptr<GroqEngine> held = groq;
    const Cancellation flag = cancel ? cancel : std::make_shared<CancellationFlag>();
    const QString usedKey = *key;
    auto reply = co_await held->chat(messages, replyTokens, timeoutSec, usedKey, flag, true);
    if (!reply)
        co_return std::unexpected(
            SummaryError{reply.error().message(),
                         reply.error().kind == TranscriptionServiceError::Kind::cancelled});
    const auto parsed = parseJsonText(*reply);
    if (!parsed || !parsed->is_object())
        co_return std::unexpected(SummaryError{
            u"Groq answered with something that is not a summary. Try again."_s, false});
    co_return SummaryReply{*parsed};
}

} // namespace quendra
