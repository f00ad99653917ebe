#pragma once

#include "notes/NoteSummarizer.h"

#include <memory>

namespace quendra {

class GroqEngine;

// Summaries and answers from a chat model on Groq with the user's own key,
// told to use the transcript alone and to cite the moment of each item.
class GroqNoteSummarizer : public NoteSummarizer {
public:
    explicit GroqNoteSummarizer(std::shared_ptr<GroqEngine> groq);

    QCoro::Task<SummaryResult> summarize(QList<SummaryPassage> passages,
                                         Cancellation cancel) override;
    QCoro::Task<SummaryResult> ask(QString question, QList<SummaryPassage> passages,
                                   Cancellation cancel) override;
    QString name() const override { return QStringLiteral("Groq"); }

    // The transcript as the model reads it: one passage a line, led by its
    // moment so the model can cite it back.
    static QString transcriptLines(const QList<SummaryPassage>& passages);

private:
    QCoro::Task<SummaryResult> complete(QString instructions, QString content, Cancellation cancel);

    std::shared_ptr<GroqEngine> groq;
};

} // namespace quendra
