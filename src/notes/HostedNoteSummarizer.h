#pragma once

#include "notes/NoteSummarizer.h"

namespace quendra {

class HostedClient;

// Summaries and answers from the hosted service's "summarize" and "ask".
class HostedNoteSummarizer : public NoteSummarizer {
public:
    explicit HostedNoteSummarizer(HostedClient& client);

    QCoro::Task<SummaryResult> summarize(QList<SummaryPassage> passages,
                                         Cancellation cancel) override;
    QCoro::Task<SummaryResult> ask(QString question, QList<SummaryPassage> passages,
                                   Cancellation cancel) override;
    QString name() const override { return QStringLiteral("Parlevo"); }

private:
    HostedClient& client;
};

} // namespace quendra
