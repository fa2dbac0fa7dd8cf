#include "certificates.h"

#include <memory>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

namespace {

constexpr long day = 24L * 60 * 60;

struct Freer
{
    void operator()(X509 *p) const { X509_free(p); }
    void operator()(EVP_PKEY *p) const { EVP_PKEY_free(p); }
    void operator()(BIO *p) const { BIO_free(p); }
    void operator()(X509_EXTENSION *p) const { X509_EXTENSION_free(p); }
};

template <typename T>
using Owned = std::unique_ptr<T, Freer>;

struct Pair
{
    Owned<X509> certificate;
    Owned<EVP_PKEY> key;
};

struct Wish
{
    const char *name; ///< whose certificate it is
    const char *hosts; ///< as an alternative-name extension, or null for an authority
    long begin; ///< seconds from now
    long end;
};

constexpr Wish authority_wish{"Authority of the tests", nullptr, -day, day};
constexpr Wish stranger_wish{"Authority that nobody knows", nullptr, -day, day};
constexpr Wish good_wish{"127.0.0.1", "IP:127.0.0.1,DNS:localhost", -day, day};
constexpr Wish wrong_host_wish{"elsewhere.example", "DNS:elsewhere.example", -day, day};
constexpr Wish expired_wish{"127.0.0.1", "IP:127.0.0.1,DNS:localhost", -2 * day, -day};

void add_extension(X509 *certificate, int kind, const char *value)
{
    const Owned<X509_EXTENSION> extension(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value));
    X509_add_ext(certificate, extension.get(), -1);
}

void set_serial(X509 *certificate)
{
    long serial = 0;
    RAND_bytes(reinterpret_cast<unsigned char *>(&serial), sizeof serial - 1);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), serial);
}

/// @param issuer  null signs with its own key
Pair make(const Wish &wish, const Pair *issuer)
{
    constexpr long version_3 = 2;
    Pair made{Owned<X509>(X509_new()), Owned<EVP_PKEY>(EVP_EC_gen("P-256"))};
    X509 *const certificate = made.certificate.get();
    X509_set_version(certificate, version_3);
    set_serial(certificate);
    X509_gmtime_adj(X509_getm_notBefore(certificate), wish.begin);
    X509_gmtime_adj(X509_getm_notAfter(certificate), wish.end);
    X509_set_pubkey(certificate, made.key.get());
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char *>(wish.name), -1, -1, 0);
    const Pair &signer = issuer == nullptr ? made : *issuer;
    X509_set_issuer_name(certificate, X509_get_subject_name(signer.certificate.get()));
    if (wish.hosts == nullptr) {
        add_extension(certificate, NID_basic_constraints, "critical,CA:TRUE");
        add_extension(certificate, NID_key_usage, "critical,keyCertSign");
    } else {
        add_extension(certificate, NID_subject_alt_name, wish.hosts);
    }
    X509_sign(certificate, signer.key.get(), EVP_sha256());
    return made;
}

template <typename Write>
std::string pem(Write write)
{
    const Owned<BIO> memory(BIO_new(BIO_s_mem()));
    write(memory.get());
    char *text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(size)};
}

Certificate as_text(const Pair &pair)
{
    return {
        pem([&](BIO *out) { PEM_write_bio_X509(out, pair.certificate.get()); }),
        pem([&](BIO *out) { PEM_write_bio_PrivateKey(out, pair.key.get(), nullptr, nullptr, 0, nullptr, nullptr); }),
    };
}

} // namespace

Certificates make_certificates()
{
    const Pair authority = make(authority_wish, nullptr);
    const Pair stranger = make(stranger_wish, nullptr);
    return {
        as_text(authority),
        as_text(make(good_wish, &authority)),
        as_text(make(wrong_host_wish, &authority)),
        as_text(make(expired_wish, &authority)),
        as_text(make(good_wish, nullptr)),
        as_text(make(good_wish, &stranger)),
    };
}
