// Where the service is reached: the built-in base URL, the defaults key that
// may replace it, and the authorities trusted for it.

#include "hosted/ServiceBaseURL.h"
#include "model/UserDefaults.h"
#include "support/TestSupport.h"
#include "support/hosted/StandIn.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

TEST(ServiceBaseURL, TheBuiltInOneIsAnHttpsApiAddress) {
    const QUrl builtIn = productionBaseURL();
    EXPECT_EQ(builtIn.scheme(), u"https"_s);
    EXPECT_FALSE(builtIn.host().isEmpty());
    EXPECT_TRUE(builtIn.path().endsWith(u"/api/"_s));
}

TEST(ServiceBaseURL, OnlyAnHttpsURLWithAHostReplacesIt) {
    QTemporaryDir dir;
    UserDefaults defaults(dir.filePath(u"defaults.conf"_s));
    EXPECT_EQ(serviceBaseURL(defaults), productionBaseURL());
    ASSERT_TRUE(defaults.setString(u"serviceBaseURL"_s, u"https://staging.example:8443/api/"_s));
    EXPECT_EQ(serviceBaseURL(defaults), QUrl(u"https://staging.example:8443/api/"_s));
    for (const QString& refused : {u"http://staging.example/api/"_s, u"https:///api/"_s,
                                   u"staging.example/api/"_s, u"ftp://x.example/"_s, u""_s}) {
        ASSERT_TRUE(defaults.setString(u"serviceBaseURL"_s, refused));
        EXPECT_EQ(serviceBaseURL(defaults), productionBaseURL()) << refused.toStdString();
    }
    ASSERT_TRUE(defaults.setInteger(u"serviceBaseURL"_s, 443));
    EXPECT_EQ(serviceBaseURL(defaults), productionBaseURL());
}

TEST(ServiceTls, ACertificateBundleInTheEnvironmentIsAllThatIsTrusted) {
    ensureCoreApplication();
    qunsetenv("SSL_CERT_FILE");
    const auto system = serviceTlsConfiguration().caCertificates();
    testing::StandIn standIn;
    qputenv("SSL_CERT_FILE", standIn.caFile().toUtf8());
    const auto bundle = serviceTlsConfiguration().caCertificates();
    qunsetenv("SSL_CERT_FILE");
    ASSERT_EQ(bundle.size(), 1);
    EXPECT_EQ(bundle.first().subjectInfo(QSslCertificate::CommonName),
              QStringList{u"Parlevo test CA"_s});
    EXPECT_FALSE(system.contains(bundle.first()));
}

} // namespace
} // namespace quendra
