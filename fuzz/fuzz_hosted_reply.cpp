// Any status, Retry-After header and body from the hosted service must decode
// to a record or a HostedError for every endpoint, and never crash. The first
// two bytes choose the status, the next line is the header, the rest the body.

#include "hosted/HostedReply.h"

#include <cstdint>
#include <cstdlib>

namespace {

template <typename T>
void expectOutcome(const quendra::HostedOutcome<T>& outcome, const quendra::HostedReply& reply,
                   bool successStatus) {
    if (outcome.valueless_by_exception())
        std::abort();
    // A failed status never yields a record.
    if (!successStatus && std::holds_alternative<T>(outcome))
        std::abort();
    if (const auto* error = std::get_if<quendra::HostedError>(&outcome)) {
        if (error->kind == quendra::HostedError::Kind::cancelled)
            std::abort();
        if (error->message(quendra::HostedMessageContext::dictation).isEmpty())
            std::abort();
        if (error->kind == quendra::HostedError::Kind::invalidRequest && error->code.isEmpty())
            std::abort();
    }
    (void)reply;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2)
        return 0;
    const int status = 100 + (data[0] << 8 | data[1]) % 500;
    const QByteArray rest(reinterpret_cast<const char*>(data + 2),
                          static_cast<qsizetype>(size - 2));
    const qsizetype newline = rest.indexOf('\n');
    const QByteArray header = newline < 0 ? QByteArray() : rest.left(newline);
    const QByteArray body = newline < 0 ? rest : rest.mid(newline + 1);

    const quendra::HostedReply reply = quendra::makeReply(status, body, header);
    if (!reply.body.is_object())
        std::abort();
    if (reply.retryAfterHeader && *reply.retryAfterHeader < 0)
        std::abort();
    const bool ok = status == 200;
    expectOutcome(quendra::decodeDesktopStart(reply), reply, ok);
    expectOutcome(quendra::decodeDesktopClaim(reply), reply, ok || status == 202);
    expectOutcome(quendra::decodeAccount(reply), reply, ok);
    expectOutcome(quendra::decodeDeleted(reply), reply, ok);
    expectOutcome(quendra::decodeDictation(reply), reply, ok);
    expectOutcome(quendra::decodeNoteTranscript(reply), reply, ok);
    expectOutcome(quendra::decodeSummary(reply), reply, ok);
    expectOutcome(quendra::decodeAnswer(reply), reply, ok);
    expectOutcome(quendra::decodeSaved(reply), reply, ok);
    if (const auto start = quendra::decodeDesktopStart(reply);
        const auto* record = std::get_if<quendra::DesktopSignInStart>(&start)) {
        if (record->authURL.scheme() != QStringLiteral("https") || record->intervalSec <= 0 ||
            record->expiresInSec <= 0 || record->pollId.isEmpty())
            std::abort();
    }
    return 0;
}
