#pragma once

#include "CancellationFlag.h"
#include "HostedBearer.h"
#include "HostedDictation.h"
#include "HostedReply.h"

#include <QSslConfiguration>
#include <QUrl>

#include <qcoro/qcorotask.h>

#include <expected>
#include <functional>
#include <memory>

class QNetworkAccessManager;

namespace quendra {

struct HostedClientOptions {
    QUrl baseURL;
    // Asked once per call that needs the stored sign-in.
    std::function<HostedBearer()> credentials;
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    // Multiplies every call's time-out; tests shorten them all alike.
    double timeoutScale = 1.0;
};

// The one client of the hosted service: a JSON POST per call, redirects never
// followed (the bearer must not reach another host), no cookies, no cache.
// Main thread; calls may overlap; the client must outlive its calls.
class HostedClient final : public HostedDictation {
public:
    explicit HostedClient(HostedClientOptions options);
    ~HostedClient() override;
    HostedClient(const HostedClient&) = delete;
    HostedClient& operator=(const HostedClient&) = delete;

    const QUrl& baseURL() const { return options.baseURL; }
    // The base URL with one path component appended.
    QUrl endpoint(const QString& path) const;

    QCoro::Task<HostedResult<DesktopSignInStart>> desktopStart(QString challenge, QString device,
                                                               Cancellation cancel = {});
    QCoro::Task<HostedResult<DesktopClaim>> desktopClaim(QString pollId, QString verifier,
                                                         Cancellation cancel = {});
    QCoro::Task<HostedResult<AccountView>> me(Cancellation cancel = {});
    // Revokes a token that is no longer stored; every failure is ignored.
    QCoro::Task<> signOut(QString token);
    QCoro::Task<HostedResult<bool>> deleteAccount(Cancellation cancel = {});
    QCoro::Task<HostedResult<HostedDictationResult>> dictate(HostedDictationRequest request,
                                                             Cancellation cancel = {}) override;
    QCoro::Task<HostedResult<HostedNoteTranscript>> transcribeNote(QByteArray wav, QString language,
                                                                   Cancellation cancel = {});
    QCoro::Task<HostedResult<HostedSummary>> summarize(QList<HostedSummaryPart> parts,
                                                       Cancellation cancel = {});
    QCoro::Task<HostedResult<HostedAnswer>> ask(QString question, QList<HostedSummaryPart> parts,
                                                Cancellation cancel = {});
    QCoro::Task<HostedResult<bool>> uploadReview(Json body, Cancellation cancel = {});

private:
    struct Authorization {
        enum class Kind { none, stored, explicitToken };
        Kind kind = Kind::none;
        QString token;
    };

    QCoro::Task<HostedResult<HostedReply>>
    send(QString path, Json body, Authorization authorization, int timeoutSec, Cancellation cancel);

    HostedClientOptions options;
    std::unique_ptr<QNetworkAccessManager> manager;
};

} // namespace quendra
