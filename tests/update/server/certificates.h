#pragma once

#include <string>

/// A certificate and its private key, as PEM texts.
struct Certificate
{
    std::string pem;
    std::string key_pem;
};

/// The certificates of one run, each made anew: nothing that could be trusted elsewhere lies in a file.
struct Certificates
{
    Certificate authority; ///< the one that tests trust
    Certificate good; ///< for 127.0.0.1 and localhost, by the authority
    Certificate wrong_host; ///< for another host, by the authority
    Certificate expired; ///< ended yesterday, by the authority
    Certificate self_signed;
    Certificate untrusted; ///< by an authority that nobody trusts
};

/// Makes them; takes a few milliseconds. Rests on OpenSSL's library.
Certificates make_certificates();
