#include "systemnetwork.h"

#include <QSslCertificate>
#include <QSslConfiguration>

namespace systemnetwork {

bool trustAuthority(const QString &fileName)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    const bool trusted = configuration.addCaCertificates(fileName);
    QSslConfiguration::setDefaultConfiguration(configuration);
    return trusted;
}

QList<CertificateFailure> certificateFailures()
{
    const QString failed = QStringLiteral("SSL handshake failed: ");
    return {
        {"wrong-host",
         failed + QStringLiteral("The host name did not match any of the valid hosts for this certificate")},
        {"expired", failed + QStringLiteral("The certificate has expired")},
        {"self-signed", failed + QStringLiteral("The certificate is self-signed, and untrusted")},
        {"untrusted",
         failed + QStringLiteral("The issuer certificate of a locally looked up certificate could not be found")},
    };
}

} // namespace systemnetwork
