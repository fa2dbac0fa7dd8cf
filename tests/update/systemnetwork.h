#pragma once

#include <QList>
#include <QString>

/**
 * What differs with the system's network and its TLS: OpenSSL's, or Windows' own.
 */
namespace systemnetwork {

/// Trusts the certificates of a PEM file. @return whether it holds any and they are trusted now
bool trustAuthority(const QString &fileName);

/// A port of the update server that is not to be trusted, and what a fetch from it ends in.
struct CertificateFailure
{
    const char *port;
    QString error;
};

QList<CertificateFailure> certificateFailures();

} // namespace systemnetwork
