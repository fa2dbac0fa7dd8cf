#pragma once

#include "behaviours.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/**
 * What a test asks of the server itself: the requests that came, and steps for those that wait for them. Safe from any
 * thread.
 */
class Control
{
public:
    /// Keeps a request, unless it is one of the paths below.
    void note(const Request &request);

    /// Waits until a test has asked for one more step of that name.
    void wait_for_step(const std::string &name);

    /// The paths by which a test asks.
    void add_paths(Behaviours &behaviours);

private:
    std::string requests_as_json() const;

    mutable std::mutex m_mutex;
    std::condition_variable m_stepped;
    std::map<std::string, int> m_steps; // asked for and not yet taken
    std::vector<Request> m_requests;
};
