#include "HostedClient.h"

#include "EphemeralNetwork.h"

#include "HostedLog.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslError>
#include <QThread>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

template <typename T>
HostedResult<T> toResult(HostedOutcome<T>&& outcome) {
    if (auto* error = std::get_if<HostedError>(&outcome))
        return std::unexpected(*error);
    return std::move(std::get<T>(outcome));
}

template <typename T>
HostedResult<T> decoded(HostedResult<HostedReply>&& reply,
                        HostedOutcome<T> (*decode)(const HostedReply&)) {
    if (!reply)
        return std::unexpected(reply.error());
    return toResult(decode(*reply));
}

Json partsJson(const QList<HostedSummaryPart>& parts) {
    Json list = Json::array();
    for (const auto& part : parts)
        list.push_back(Json{{"text", part.text}, {"startMs", part.startMs}});
    return list;
}

} // namespace

HostedClient::HostedClient(HostedClientOptions options_)
    : options(std::move(options_))
    , manager(makeEphemeralNetwork()) {}

HostedClient::~HostedClient() = default;

QUrl HostedClient::endpoint(const QString& path) const {
    QUrl url = options.baseURL;
    QString base = url.path();
    if (!base.endsWith(u'/'))
        base += u'/';
    url.setPath(base + path);
    return url;
}

QCoro::Task<HostedResult<HostedReply>> HostedClient::send(QString path, Json body,
                                                          Authorization authorization,
                                                          int timeoutSec, Cancellation cancel) {
    Q_ASSERT(QThread::currentThread() == manager->thread());
    if (cancel && cancel->isCancelled())
        co_return std::unexpected(HostedError::of(HostedError::Kind::cancelled));

    QNetworkRequest request =
        ephemeralRequest(endpoint(path), options.tls, timeoutSec, options.timeoutScale);
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
    request.setRawHeader("Accept", "application/json");
    if (authorization.kind == Authorization::Kind::explicitToken) {
        request.setRawHeader("Authorization", "Bearer " + authorization.token.toUtf8());
    } else if (authorization.kind == Authorization::Kind::stored) {
        const HostedBearer bearer = options.credentials ? options.credentials() : HostedBearer{};
        if (bearer.kind == HostedBearer::Kind::none)
            co_return std::unexpected(HostedError::of(HostedError::Kind::signInRequired));
        if (bearer.kind == HostedBearer::Kind::locked)
            co_return std::unexpected(HostedError::of(HostedError::Kind::keychainLocked));
        request.setRawHeader("Authorization", "Bearer " + bearer.token.toUtf8());
    }
    std::function<void(QNetworkReply&)> watchCertificates = [path](QNetworkReply& reply) {
        QObject::connect(&reply, &QNetworkReply::sslErrors, [path](const QList<QSslError>& errors) {
            for (const QSslError& error : errors)
                qCInfo(hostedLog) << "call to" << path
                                  << "refused a certificate:" << error.errorString();
        });
    };
    QByteArray bytes = jsonBytes(body);
    FinishedReply finished = co_await postAndWait(*manager, std::move(request), std::move(bytes),
                                                  cancel, std::move(watchCertificates));
    const OwnedReply& reply = finished.reply;

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (finished.cancelledByCaller) {
        qCDebug(hostedLog) << "call to" << path << "cancelled";
        co_return std::unexpected(HostedError::of(HostedError::Kind::cancelled));
    }
    if (!status.isValid()) {
        if (reply->error() == QNetworkReply::NoError) {
            co_return std::unexpected(HostedError::of(HostedError::Kind::invalidResponse));
        }
        qCInfo(hostedLog) << "call to" << path << "failed in transport:" << reply->error();
        co_return std::unexpected(HostedError::of(HostedError::Kind::offline));
    }
    HostedReply parsed =
        makeReply(status.toInt(), reply->readAll(), reply->rawHeader("Retry-After"));
    qCDebug(hostedLog) << "call to" << path << "answered" << parsed.status;
    co_return parsed;
}

// The arguments of each send are named locals: GCC 12 destroys braced temporaries
// inside a co_await expression twice.

QCoro::Task<HostedResult<DesktopSignInStart>>
HostedClient::desktopStart(QString challenge, QString device, Cancellation cancel) {
    Json body{{"action", "desktop-start"}, {"challenge", challenge}, {"device", device}};
    const QString path = u"auth"_s;
    Authorization authorization{Authorization::Kind::none, {}};
    auto reply = co_await send(path, std::move(body), std::move(authorization), 20, cancel);
    co_return decoded(std::move(reply), decodeDesktopStart);
}

QCoro::Task<HostedResult<DesktopClaim>> HostedClient::desktopClaim(QString pollId, QString verifier,
                                                                   Cancellation cancel) {
    Json body{{"action", "desktop-claim"}, {"pollId", pollId}, {"verifier", verifier}};
    const QString path = u"auth"_s;
    Authorization authorization{Authorization::Kind::none, {}};
    auto reply = co_await send(path, std::move(body), std::move(authorization), 20, cancel);
    co_return decoded(std::move(reply), decodeDesktopClaim);
}

QCoro::Task<HostedResult<AccountView>> HostedClient::me(Cancellation cancel) {
    Json body{{"action", "me"}};
    const QString path = u"account"_s;
    Authorization authorization{Authorization::Kind::stored, {}};
    auto reply = co_await send(path, std::move(body), std::move(authorization), 20, cancel);
    co_return decoded(std::move(reply), decodeAccount);
}

QCoro::Task<> HostedClient::signOut(QString token) {
    Json body{{"action", "signout"}};
    const QString path = u"auth"_s;
    Authorization authorization{Authorization::Kind::explicitToken, token};
    Cancellation never;
    co_await send(path, std::move(body), std::move(authorization), 10, never);
}

QCoro::Task<HostedResult<bool>> HostedClient::deleteAccount(Cancellation cancel) {
    Json body{{"action", "delete"}, {"confirm", "DELETE"}};
    const QString path = u"account"_s;
    Authorization authorization{Authorization::Kind::stored, {}};
    auto reply = co_await send(path, std::move(body), std::move(authorization), 30, cancel);
    co_return decoded(std::move(reply), decodeDeleted);
}

QCoro::Task<HostedResult<HostedDictationResult>>
HostedClient::dictate(HostedDictationRequest request, Cancellation cancel) {
    const QString path = u"dictate"_s;
    Authorization authorization{Authorization::Kind::stored, {}};
    auto reply = co_await send(path, dictationBody(request), std::move(authorization), 125, cancel);
    co_return decoded(std::move(reply), decodeDictation);
}

QCoro::Task<HostedResult<HostedNoteTranscript>>
HostedClient::transcribeNote(QByteArray wav, QString language, Cancellation cancel) {
    Json body{{"action", "transcribe"},
              {"language", language},
              {"mediaType", "audio/wav"},
              {"audioBase64", QString::fromLatin1(wav.toBase64())}};
    const QString path = u"notes"_s;
    Authorization authorization{Authorization::Kind::stored, {}};
    auto reply = co_await send(path, std::move(body), std::move(authorization), 110, cancel);
    co_return decoded(std::move(reply), decodeNoteTranscript);
}

QCoro::Task<HostedResult<HostedSummary>> HostedClient::summarize(QList<HostedSummaryPart> parts,
                                                                 Cancellation cancel) {
    Json body{{"action", "summarize"}, {"parts", partsJson(parts)}};
    const QString path = u"notes"_s;
    Authorization authorization{Authorization::Kind::stored, {}};
    auto reply = co_await send(path, std::move(body), std::move(authorization), 75, cancel);
    co_return decoded(std::move(reply), decodeSummary);
}

QCoro::Task<HostedResult<HostedAnswer>>
HostedClient::ask(QString question, QList<HostedSummaryPart> parts, Cancellation cancel) {
    Json body{{"action", "ask"}, {"question", question}, {"parts", partsJson(parts)}};
    const QString path = u"notes"_s;
    Authorization authorization{Authorization::Kind::stored, {}};
    auto reply = co_await send(path, std::move(body), std::move(authorization), 75, cancel);
    co_return decoded(std::move(reply), decodeAnswer);
}

QCoro::Task<HostedResult<bool>> HostedClient::uploadReview(Json body, Cancellation cancel) {
    const QString path = u"review"_s;
    Authorization authorization{Authorization::Kind::stored, {}};
    auto reply = co_await send(path, std::move(body), std::move(authorization), 30, cancel);
    co_return decoded(std::move(reply), decodeSaved);
}

} // namespace quendra
