#include "identity.h"

#include "output.h"
#include "values.h"

#include <cstdio>

namespace kdmxctl {

namespace {

using TextQuery = int (*)(usdev_t **unit, uint8_t *out, uint8_t max, uint8_t *length_out);

std::string read_text(Session *session, TextQuery query)
{
    uint8_t bytes[USMSG_MAX_SIZE];
    uint8_t length = 0;
    if (query(session->unit(), bytes, sizeof(bytes), &length) == 0)
        return unit_text({bytes, bytes + length});
    // A unit may have nothing to say about an item; if it sent the other items, it is not silent.
    if (!session->has_answered())
        session->check(1);
    if (const std::optional<Failure> cause = session->cause())
        throw *cause;
    return {};
}

} // namespace

Identity read_short_identity(Session *session)
{
    Identity identity;
    session->check(usctl_get_version(session->unit(), &identity.version));
    session->check(usctl_get_build(session->unit(), &identity.build));
    identity.product = read_text(session, usctl_get_productname);
    return identity;
}

Identity read_identity(Session *session)
{
    Identity identity = read_short_identity(session);
    identity.build_date = read_text(session, usctl_get_builddate);
    identity.build_time = read_text(session, usctl_get_buildtime);
    identity.info = read_text(session, usctl_get_info);
    return identity;
}

std::string shown_text(const std::string &text)
{
    return text.empty() ? "not told" : printable(text);
}

std::string version_text(uint16_t number)
{
    char text[24];
    std::snprintf(text, sizeof(text), "%u (0x%04x)", unsigned{number}, unsigned{number});
    return text;
}

} // namespace kdmxctl
