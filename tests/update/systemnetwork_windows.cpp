#include "systemnetwork.h"

#include <QSslCertificate>

#include <windows.h>

#include <wincrypt.h>

namespace systemnetwork {

/// In the user's own store. Qt would take it from a QSslConfiguration too and hand it to Windows in a PKCS #12 store
/// without a private key, which Wine's PFXImportCertStore() does not read.
bool trustAuthority(const QString &fileName)
{
    const HCERTSTORE roots = CertOpenSystemStoreW(0, L"ROOT");
    const QList<QSslCertificate> certificates = QSslCertificate::fromPath(fileName);
    bool areTrusted = !certificates.isEmpty();
    for (const QSslCertificate &certificate : certificates) {
        const QByteArray bytes = certificate.toDer();
        areTrusted = CertAddEncodedCertificateToStore(
                         roots, X509_ASN_ENCODING, reinterpret_cast<const BYTE *>(bytes.constData()),
                         static_cast<DWORD>(bytes.size()), CERT_STORE_ADD_REPLACE_EXISTING, nullptr)
            && areTrusted;
    }
    CertCloseStore(roots, 0);
    return areTrusted;
}

QList<CertificateFailure> certificateFailures()
{
    const QString failed = QStringLiteral("SSL handshake failed: ");
    return {
        {"wrong-host",
         failed + QStringLiteral("The host name did not match any of the valid hosts for this certificate")},
        {"expired", failed + QStringLiteral("The certificate has expired")},
        {"self-signed", failed + QStringLiteral("The root CA certificate is not trusted for this purpose")},
        {"untrusted", failed + QStringLiteral("The issuer certificate could not be found")},
    };
}

} // namespace systemnetwork
