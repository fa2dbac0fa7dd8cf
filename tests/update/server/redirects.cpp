// Other statuses than 200.

#include "behaviours.h"
#include "response.h"

namespace {

const std::string page_type = "text/html";

void status(const Request &request, Connection &client)
{
    const std::string number = request.path.substr(request.path.rfind('/') + 1);
    respond(client, std::stoi(number), page_type, "<html><body>Status " + number + "</body></html>");
}

void redirect_to(const std::string &address, Connection &client)
{
    const std::string page = "<html><body>It is elsewhere.</body></html>";
    client.write(head(302, {type(page_type), length(page.size()), "Location: " + address}));
    client.write(page);
    client.close();
}

} // namespace

void add_redirects(Behaviours &behaviours)
{
    behaviours["/status/"] = status;
    behaviours["/redirect"] = [](const Request &request, Connection &client) {
        redirect_to(request.text("to"), client);
    };
    behaviours["/loop"] = [](const Request &request, Connection &client) { redirect_to(request.target, client); };
}
