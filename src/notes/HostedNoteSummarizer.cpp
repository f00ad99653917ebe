#include "notes/HostedNoteSummarizer.h"

#include "hosted/HostedClient.h"
#include "hosted/HostedError.h"

namespace quendra {

namespace {

QList<HostedSummaryPart> parts(const QList<SummaryPassage>& passages) {
    QList<HostedSummaryPart> out;
    out.reserve(passages.size());
    for (const SummaryPassage& passage : passages)
        out.append({passage.text, passage.startMs});
    return out;
}

template <typename T>
SummaryResult outcome(const HostedResult<T>& reply) {
    if (!reply)
        return std::unexpected(SummaryError{reply.error().message(HostedMessageContext::note),
                                            reply.error().kind == HostedError::Kind::cancelled});
    return SummaryReply{reply->object};
}

} // namespace

HostedNoteSummarizer::HostedNoteSummarizer(HostedClient& client)
    : client(client) {}

QCoro::Task<SummaryResult> HostedNoteSummarizer::summarize(QList<SummaryPassage> passages,
                                                           Cancellation cancel) {
    // Made before the await: GCC 12 destroys an await's temporaries twice.
    QList<HostedSummaryPart> sent = parts(passages);
    co_return outcome(co_await client.summarize(std::move(sent), cancel));
}

QCoro::Task<SummaryResult>
HostedNoteSummarizer::ask(QString question, QList<SummaryPassage> passages, Cancellation cancel) {
    QList<HostedSummaryPart> sent = parts(passages);
    co_return outcome(co_await client.ask(question, std::move(sent), cancel));
}

} // namespace quendra
