#include "behaviours.h"

#include "response.h"

namespace {

const Behaviour *find(const Behaviours &behaviours, const std::string &path)
{
    auto found = behaviours.find(path);
    if (found == behaviours.end())
        found = behaviours.find(path.substr(0, path.find('/', 1) + 1));
    return found == behaviours.end() ? nullptr : &found->second;
}

} // namespace

void answer(const Behaviours &behaviours, const Request &request, Connection &client)
{
    if (request.method == "CONNECT")
        respond(client, 403, "text/plain", "This proxy leads nowhere.");
    else if (const Behaviour *const behaviour = find(behaviours, request.path))
        (*behaviour)(request, client);
    else
        respond(client, 404, "text/html", "<html><body>Nobody knows this page.</body></html>");
}
