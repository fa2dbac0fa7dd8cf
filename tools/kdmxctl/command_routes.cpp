#include "channelnames.h"
#include "command.h"
#include "values.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace kdmxctl {

namespace {

using Json = nlohmann::ordered_json;

// Four blocks of elements, each element with a line of its own, take less.
constexpr uint32_t dump_capacity = 16384;

struct Side
{
    uint32_t ch = 0;
    uint32_t ch_no = 0;

    bool operator==(const Side &) const = default;
};

struct Route
{
    Side source;
    Side destination;

    bool operator==(const Route &) const = default;
};

/// The routes of the unit, and what else it said when it was asked for them.
struct Dump
{
    std::vector<Route> routes;
    std::vector<std::string> other_lines;
};

/// The channel whose name the link prints; 0 for any other text.
uint32_t channel_of_link_name(const std::string &name)
{
    for (uint32_t ch = USMSG_DATA_CH_LINE_OUT; ch <= USMSG_DATA_CH_DIRECTMONITOR_OUT; ++ch) {
        if (name == usmsg_data_ch_name(ch))
            return ch;
    }
    return 0;
}

/// Reads "NAME:1 -> NAME:2".
bool parse_route(const std::string &line, Route *route)
{
    char source[64];
    char destination[64];
    if (std::sscanf(line.c_str(), "%63[^:]:%u -> %63[^:]:%u", source, &route->source.ch_no, destination,
                    &route->destination.ch_no)
        != 4)
        return false;
    route->source.ch = channel_of_link_name(source);
    route->destination.ch = channel_of_link_name(destination);
    return true;
}

Dump read_routes(Session *session)
{
    std::string text(dump_capacity, '\0');
    uint32_t length = 0;
    session->check(usctl_dump_routes(session->unit(), text.data(), dump_capacity, &length));
    text.resize(std::min<size_t>(length, dump_capacity - 1));
    std::istringstream lines(text);
    Dump dump;
    for (std::string line; std::getline(lines, line);) {
        Route route;
        if (!parse_route(line, &route))
            dump.other_lines.push_back(line);
        // The unit may tell its routes more than once within the time that it is listened to.
        else if (std::find(dump.routes.begin(), dump.routes.end(), route) == dump.routes.end())
            dump.routes.push_back(route);
    }
    return dump;
}

std::string show(const Side &side)
{
    return (side.ch != 0 ? channel_name(side.ch) : "unknown") + ' ' + std::to_string(side.ch_no);
}

std::string show(const Route &route)
{
    return show(route.source) + " -> " + show(route.destination);
}

Json json_of(const Side &side)
{
    return {{"channel", side.ch != 0 ? Json(channel_name(side.ch)) : Json()}, {"number", side.ch_no}};
}

Json json_of(const Route &route)
{
    return {{"source", json_of(route.source)}, {"destination", json_of(route.destination)}};
}

/// The routes with their arrows below one another.
std::string lines_of(const std::vector<Route> &routes)
{
    std::vector<std::pair<std::string, std::string>> rows;
    rows.reserve(routes.size());
    for (const Route &route : routes)
        rows.emplace_back(show(route.source), "-> " + show(route.destination));
    return table(rows);
}

class RouteCommand : public Command
{
public:
    CommandTexts texts() const override
    {
        return {"route", "SRC NUMBER DST NUMBER", "route a channel to another",
                "SRC and DST are line-out, master-out, computer-out, analog-in or direct-monitor; each "
                "NUMBER counts within its channel from 1.\n\n"
                "Example:\n"
                "  kdmxctl route direct-monitor 1 master-out 1 --verify\n"};
    }

    std::vector<Parameter> parameters() override
    {
        return {{"SRC", &m_source},
                {"SRC-NUMBER", &m_source_number},
                {"DST", &m_destination},
                {"DST-NUMBER", &m_destination_number}};
    }

    bool check(const Options &) override
    {
        m_route.source = side("SRC", m_source, m_source_number);
        m_route.destination = side("DST", m_destination, m_destination_number);
        return true;
    }

    Result run(Session *session, const Options &options) override
    {
        session->check(usctl_set_route(session->unit(), m_route.source.ch, m_route.source.ch_no, m_route.destination.ch,
                                       m_route.destination.ch_no));
        Result result = {show(m_route) + verified_mark(options) + '\n', json_of(m_route)};
        if (!options.verify)
            return result;
        const std::vector<Route> found = read_routes(session).routes;
        if (std::find(found.begin(), found.end(), m_route) == found.end())
            throw not_verified("The route", show(m_route), "no such route");
        result.json["verified"] = true;
        return result;
    }

private:
    static Side side(const std::string &what, const std::string &channel, const std::string &number)
    {
        return {channel_argument(what, channel), number_argument("NUMBER of the " + what, number, 1, UINT8_MAX)};
    }

    std::string m_source;
    std::string m_source_number;
    std::string m_destination;
    std::string m_destination_number;
    Route m_route;
};

class RoutesCommand : public Command
{
public:
    CommandTexts texts() const override
    {
        return {"routes", "", "list the routes",
                "Asks the unit for its routes and listens for 0.4 s. What it says meanwhile besides routes is shown "
                "below them.\n"};
    }

    Result run(Session *session, const Options &) override
    {
        const Dump dump = read_routes(session);
        Json routes = Json::array();
        for (const Route &route : dump.routes)
            routes.push_back(json_of(route));
        std::string text = dump.routes.empty() ? "The unit named no routes.\n" : lines_of(dump.routes);
        for (const std::string &line : dump.other_lines)
            text += printable(line) + '\n';
        return {text, {{"routes", routes}, {"other", dump.other_lines}}};
    }
};

} // namespace

void add_route_commands(Commands *commands)
{
    commands->push_back(std::make_unique<RouteCommand>());
    commands->push_back(std::make_unique<RoutesCommand>());
}

} // namespace kdmxctl
