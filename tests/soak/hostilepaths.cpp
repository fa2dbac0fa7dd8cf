#include "hostilepaths.h"

namespace hostilepaths {

const QString archiveName = QStringLiteral("package.zip");
const QString installerName = QStringLiteral("installer.exe");

namespace {

const QString http = QStringLiteral("http");
const QString https = QStringLiteral("https");

// Nothing can be had from these ports.
const QStringList badPorts = {QStringLiteral("wrong-host"), QStringLiteral("expired"), QStringLiteral("self-signed"),
                              QStringLiteral("untrusted"), QStringLiteral("refused")};

const QStringList documents = {
    QStringLiteral("/document/good"),        QStringLiteral("/document/large?size=300000"),
    QStringLiteral("/document/bom"),         QStringLiteral("/document/gzip"),
    QStringLiteral("/document/wrong-types"), QStringLiteral("/document/other-key"),
    QStringLiteral("/document/not-json"),    QStringLiteral("/document/nested?depth=100000"),
    QStringLiteral("/document/html"),        QStringLiteral("/document/invalid-utf8"),
    QStringLiteral("/document/array"),
};

const QStringList faults = {
    QStringLiteral("/status/404"),
    QStringLiteral("/status/500"),
    QStringLiteral("/status/204"),
    QStringLiteral("/status/304"),
    QStringLiteral("/loop"),
    QStringLiteral("/redirect?to=/body"),
    QStringLiteral("/redirect?to=/silent/before"),
    QStringLiteral("/redirect?to=file:///etc/hostname"),
    QStringLiteral("/redirect?to="),
    QStringLiteral("/files/nobody-has-this"),
    QStringLiteral("/endless"),
    QStringLiteral("/empty"),
    QStringLiteral("/false-gzip"),
    QStringLiteral("/false-gzip?endless=1"),
    QStringLiteral("/drip?size=100&piece=9&pause=5"),
    // Slower than the longest silence that the rounds allow, so that it ends.
    QStringLiteral("/drip?size=1000000&piece=1&pause=2000"),
    QStringLiteral("/stepped?size=5000&pieces=2&name=soak"),
    QStringLiteral("/stepped-chunked?size=5000&pieces=2&name=soak"),
    QStringLiteral("/length/too-long"),
    QStringLiteral("/length/too-short"),
    QStringLiteral("/chunked/broken"),
    QStringLiteral("/reset/before"),
    QStringLiteral("/reset/in-header"),
    QStringLiteral("/reset/after-header"),
    QStringLiteral("/reset/in-body"),
    QStringLiteral("/close/before"),
    QStringLiteral("/close/in-header"),
    QStringLiteral("/close/in-body"),
    QStringLiteral("/close/in-body-unsized"),
    QStringLiteral("/close/in-body-chunked"),
    QStringLiteral("/silent/before"),
    QStringLiteral("/silent/after-header"),
    QStringLiteral("/silent/in-body"),
};

// "%1" is a size.
const QStringList wholeBodies = {
    QStringLiteral("/body?size=%1"),
    QStringLiteral("/body?stays=1&size=%1"),
    QStringLiteral("/chunked?size=%1"),
    QStringLiteral("/unsized?size=%1"),
};

const QList<qint64> sizes = {1, 1000, 131'072, 131'073, 2'000'000, 3'000'001};

QString port(Chance &chance)
{
    return chance.oneIn(3) ? https : http;
}

QString withSuffix(const QString &path, const QString &suffix)
{
    return path + (path.contains(u'?') ? u'&' : u'?') + QStringLiteral("as=package.") + suffix;
}

/// From one port to the other; from https to http nobody may follow.
QString redirect(const UpdateServer &server, Chance &chance, const QString &suffix)
{
    const QString target = server.address(QStringLiteral("/body"), port(chance));
    return server.address(withSuffix(QStringLiteral("/redirect?to=") + target, suffix), port(chance));
}

} // namespace

Package package(const UpdateServer &server, Chance &chance, const QString &suffix)
{
    switch (chance.below(8)) {
    case 0:
        return {server.address(withSuffix(QStringLiteral("/body"), suffix), chance.of(badPorts))};
    case 1:
        return {redirect(server, chance, suffix)};
    case 2:
        return {server.address(withSuffix(chance.of(documents), suffix), port(chance))};
    case 3:
        return {server.address(withSuffix(QStringLiteral("/files/") + installerName, suffix), port(chance))};
    case 4:
    case 5: {
        const qint64 size = chance.of(sizes);
        return {server.address(withSuffix(chance.of(wholeBodies).arg(size), suffix), port(chance)), size};
    }
    default:
        return {server.address(withSuffix(chance.of(faults), suffix), port(chance))};
    }
}

QString archive(const UpdateServer &server)
{
    return server.address(QStringLiteral("/files/") + archiveName);
}

QString document(const UpdateServer &server, Chance &chance)
{
    switch (chance.below(4)) {
    case 0:
        return server.address(QStringLiteral("/document/good"), chance.of(badPorts));
    case 1:
        return server.address(chance.of(faults), port(chance));
    default:
        return server.address(chance.of(documents), port(chance));
    }
}

} // namespace hostilepaths
