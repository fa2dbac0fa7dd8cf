// A web server on 127.0.0.1 that answers well and badly; README.md lists the paths.

#include "behaviours.h"
#include "certificates.h"
#include "control.h"
#include "listener.h"

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

namespace {

nlohmann::json open_ports(const Certificates &certificates, const Handler &handler)
{
    nlohmann::json ports;
    const auto open = [&](const char *name, const Certificate *certificate) {
        ports[name] = listen(name, certificate, handler);
    };
    open("http", nullptr);
    open("https", &certificates.good);
    open("wrong-host", &certificates.wrong_host);
    open("expired", &certificates.expired);
    open("self-signed", &certificates.self_signed);
    open("untrusted", &certificates.untrusted);
    ports["refused"] = refuse();
    return ports;
}

} // namespace

int main(int count, char **arguments)
{
    if (count != 3) {
        std::cerr << "usage: kdmx_update_server CA-FILE FOLDER\n";
        return 2;
    }
    const Certificates certificates = make_certificates();
    if (!(std::ofstream(arguments[1]) << certificates.authority.pem)) {
        std::cerr << "kdmx_update_server: cannot write " << arguments[1] << '\n';
        return 1;
    }

    Control control;
    Behaviours behaviours;
    add_bodies(behaviours, arguments[2], control);
    add_documents(behaviours);
    add_faults(behaviours);
    add_redirects(behaviours);
    control.add_paths(behaviours);
    const nlohmann::json ports = open_ports(certificates, [&](const Request &request, Connection &client) {
        control.note(request);
        answer(behaviours, request, client);
    });
    std::cout << ports.dump() << std::endl;

    while (std::cin.get() != std::char_traits<char>::eof()) { }
    // Not exit(): threads may still wait for clients and use what it would destroy.
    std::_Exit(0);
}
