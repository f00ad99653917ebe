#include "support/hosted/StandIn.h"
#include "support/CoreApplication.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QThread>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra::testing {

StandIn::StandIn() {
    ensureCoreApplication();
    process.setProgram(u"/usr/bin/python3"_s);
    process.setArguments({QStringLiteral(QUENDRA_FIXTURES "/hosted_standin.py"), dir.path()});
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start();
    QFile portFile(dir.filePath(u"port"_s));
    for (int i = 0; i < 400 && !portFile.exists(); ++i)
        QThread::msleep(25);
    if (portFile.open(QIODevice::ReadOnly))
        port = portFile.readAll().toInt();
    EXPECT_NE(port, 0) << "the stand-in did not start";
}

StandIn::~StandIn() {
    process.terminate();
    if (!process.waitForFinished(3000)) {
        process.kill();
        process.waitForFinished(3000);
    }
}

QUrl StandIn::baseURL() const {
    return QUrl(u"https://127.0.0.1:%1/api/"_s.arg(port));
}

QString StandIn::caFile() const {
    return dir.filePath(u"ca.pem"_s);
}

QSslConfiguration StandIn::tls() const {
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setCaCertificates(QSslCertificate::fromPath(caFile()));
    return tls;
}

Json StandIn::control(const QByteArray& method, const QString& path, const Json& body) {
    QNetworkAccessManager manager;
    QNetworkRequest request(QUrl(u"https://127.0.0.1:%1%2"_s.arg(port).arg(path)));
    request.setSslConfiguration(tls());
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
    QNetworkReply* reply =
        method == "GET" ? manager.get(request) : manager.post(request, jsonBytes(body));
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!reply->isFinished())
        loop.exec();
    const QByteArray bytes = reply->readAll();
    EXPECT_EQ(reply->error(), QNetworkReply::NoError) << reply->errorString().toStdString();
    delete reply;
    return parseJson(bytes).value_or(Json::object());
}

void StandIn::script(const Json& replies) {
    control("POST", u"/_control/script"_s, Json{{"replies", replies}});
}

void StandIn::reset() {
    control("POST", u"/_control/reset"_s, Json::object());
}

Json StandIn::requests() {
    return control("GET", u"/_control/requests"_s).value("requests", Json::array());
}

int StandIn::maxInFlight() {
    return control("GET", u"/_control/requests"_s).value("maxInFlight", 0);
}

} // namespace quendra::testing
