#pragma once

// The hosted service's stand-in (tests/fixtures/hosted_standin.py) run for one
// test: HTTPS on loopback with a certificate from its own throw-away CA.

#include "hosted/HostedError.h"
#include "model/Json.h"
#include "support/CoreApplication.h"

#include <QProcess>
#include <QSslConfiguration>
#include <QTemporaryDir>
#include <QUrl>

#include <qcoro/qcorotask.h>

namespace quendra {

inline void PrintTo(const HostedError& error, std::ostream* os) {
    *os << describe(error).toStdString();
}

} // namespace quendra

namespace quendra::testing {

class StandIn {
public:
    StandIn();
    ~StandIn();

    bool running() const { return port != 0; }
    QUrl baseURL() const;
    // Trusts the stand-in's CA and nothing else.
    QSslConfiguration tls() const;
    QString caFile() const;

    // Appends rules (see the stand-in's usage).
    void script(const Json& replies);
    void reset();
    // Every request seen: method, path, headers (lower-case names), body.
    Json requests();
    // The most requests the stand-in was answering at one time since the
    // last reset.
    int maxInFlight();

private:
    Json control(const QByteArray& method, const QString& path, const Json& body = {});

    QTemporaryDir dir;
    QProcess process;
    int port = 0;
};

// Runs an awaitable task to its end on the event loop.
template <typename Task>
auto run(Task&& task) {
    return QCoro::waitFor(std::forward<Task>(task));
}

} // namespace quendra::testing
