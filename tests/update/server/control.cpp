#include "control.h"

#include "response.h"

#include <nlohmann/json.hpp>

void Control::note(const Request &request)
{
    if (request.path.starts_with("/control/"))
        return;
    const std::lock_guard lock(m_mutex);
    m_requests.push_back(request);
}

void Control::wait_for_step(const std::string &name)
{
    std::unique_lock lock(m_mutex);
    m_stepped.wait(lock, [&] { return m_steps[name] > 0; });
    --m_steps[name];
}

std::string Control::requests_as_json() const
{
    nlohmann::json list = nlohmann::json::array();
    const std::lock_guard lock(m_mutex);
    for (const Request &request : m_requests) {
        list.push_back({
            {"port", request.port},
            {"method", request.method},
            {"target", request.target},
            {"fields", request.fields},
        });
    }
    return list.dump();
}

void Control::add_paths(Behaviours &behaviours)
{
    behaviours["/control/requests"] = [this](const Request &, Connection &client) {
        respond(client, 200, "application/json", requests_as_json());
    };
    behaviours["/control/forget"] = [this](const Request &, Connection &client) {
        {
            const std::lock_guard lock(m_mutex);
            m_requests.clear();
        }
        respond(client, 200, "text/plain", {});
    };
    behaviours["/control/step"] = [this](const Request &request, Connection &client) {
        {
            const std::lock_guard lock(m_mutex);
            ++m_steps[request.text("name")];
        }
        m_stepped.notify_all();
        respond(client, 200, "text/plain", {});
    };
}
