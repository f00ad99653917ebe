#pragma once

// The seam between note processing and whatever writes a note's summary and
// answers questions about it: the hosted service, or a chat model on Groq
// with the user's key.

#include "hosted/CancellationFlag.h"
#include "model/Json.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QString>

#include <expected>
#include <optional>

namespace quendra {

// One passage of the transcript as sent: "Name: text" and where it starts.
struct SummaryPassage {
    QString text;
    qint64 startMs = 0;
};

struct SummaryError {
    QString message;
    bool cancelled = false;
};

// A summary is a JSON object read by NoteSummary ("title", "overview",
// "keyPoints", "decisions", "actions", "openQuestions", "topics"; items
// {"text", "atMs"}, "atMs" being the moment of the recording the item comes
// from). An answer is {"text", "citations": [{"atMs"}]}.
//
// Carried in a record of its own: a bare JSON value inside std::expected
// makes the comparisons the coroutine library instantiates ambiguous.
struct SummaryReply {
    Json object;
};
using SummaryResult = std::expected<SummaryReply, SummaryError>;

class NoteSummarizer {
public:
    virtual ~NoteSummarizer() = default;
    virtual QCoro::Task<SummaryResult> summarize(QList<SummaryPassage> passages,
                                                 Cancellation cancel) = 0;
    virtual QCoro::Task<SummaryResult> ask(QString question, QList<SummaryPassage> passages,
                                           Cancellation cancel) = 0;
    virtual QString name() const = 0;
};

// A summary or answer in the form it is stored in: what NoteSummary reads of
// it, with moments that lie within the recording (a moment past its end is
// dropped, not moved). Anything else the service adds is left out.
Json tidySummary(const Json& summary, qint64 durationMs);
Json tidyAnswer(const Json& answer, qint64 durationMs);

} // namespace quendra
