#include "command.h"
#include "values.h"

#include <utility>

namespace kdmxctl {

namespace {

class RateCommand : public Command
{
public:
    CommandTexts texts() const override
    {
        return {"rate", "", "show the sample rate", "Asks the unit for the sample rate that it runs at.\n"};
    }

    Result run(Session *session, const Options &) override
    {
        uint32_t hz = 0;
        session->check(usctl_get_hz(session->unit(), &hz));
        return {std::to_string(hz) + " Hz\n", {{"rate_hz", hz}}};
    }
};

class PowerSaveCommand : public Command
{
public:
    CommandTexts texts() const override
    {
        return {"power-save", "[on|off]", "show or switch auto power save",
                "Shows whether the unit switches itself off when it is not used, or switches that on or off.\n\n"
                "Example:\n"
                "  kdmxctl power-save off --verify\n"};
    }

    std::vector<Parameter> parameters() override { return {{"VALUE", &m_value, Need::Optional}}; }

    bool check(const Options &) override
    {
        if (!m_value.empty())
            m_setting = switch_argument("VALUE", m_value);
        return !m_value.empty();
    }

    Result run(Session *session, const Options &options) override
    {
        if (m_value.empty())
            return shown(session, options);
        session->check(usctl_set_autopowersave(session->unit(), m_setting));
        if (!options.verify)
            return result(m_setting, options, "set");
        const uint8_t found = get(session);
        if ((found != 0) != (m_setting != 0))
            throw not_verified("Auto power save", switch_name(m_setting), switch_name(found));
        return result(m_setting, options, "set");
    }

private:
    static uint8_t get(Session *session)
    {
        uint8_t value = 0;
        session->check(usctl_get_autopowersave(session->unit(), &value));
        return value;
    }

    static Result shown(Session *session, const Options &options) { return result(get(session), options, "get"); }

    static Result result(uint8_t value, const Options &options, const char *action)
    {
        Result result = {std::string("auto power save: ") + switch_name(value) + verified_mark(options) + '\n',
                         {{"action", action}, {"power_save", value != 0}}};
        if (options.verify)
            result.json["verified"] = true;
        return result;
    }

    std::string m_value;
    uint8_t m_setting = 0;
};

/// A setting of one number that this program has no name for and that cannot be read back.
class NumberCommand : public Command
{
public:
    using Send = int (*)(usdev_t **unit, uint32_t value);

    NumberCommand(CommandTexts texts, uint32_t most, Send send)
        : m_texts(std::move(texts))
        , m_most(most)
        , m_send(send)
    {
    }

    CommandTexts texts() const override { return m_texts; }

    std::vector<Parameter> parameters() override { return {{"VALUE", &m_value}}; }

    bool check(const Options &) override
    {
        m_number = number_argument("VALUE", m_value, 0, m_most);
        return false;
    }

    Result run(Session *session, const Options &) override
    {
        session->check(m_send(session->unit(), m_number));
        return {m_texts.name + ": " + std::to_string(m_number) + '\n', {{"value", m_number}}};
    }

private:
    CommandTexts m_texts;
    uint32_t m_most;
    Send m_send;
    std::string m_value;
    uint32_t m_number = 0;
};

int send_u8(usdev_t **unit, uint32_t value)
{
    return usctl_set_u8(unit, static_cast<uint8_t>(value));
}

class QueryCommand : public Command
{
public:
    CommandTexts texts() const override
    {
        return {"query", "VALUE", "send the 32-bit query, show its answer",
                "Sends the query with VALUE (0 to 4294967295, hexadecimal with 0x) and waits up to 30 s for the "
                "answer.\n\n"
                "Example:\n"
                "  kdmxctl query 0x10\n"};
    }

    std::vector<Parameter> parameters() override { return {{"VALUE", &m_value}}; }

    bool check(const Options &) override
    {
        m_number = number_argument("VALUE", m_value, 0, UINT32_MAX);
        return false;
    }

    Result run(Session *session, const Options &) override
    {
        uint32_t answer = 0;
        session->check(usctl_query_u32(session->unit(), m_number, &answer));
        char hexadecimal[11];
        std::snprintf(hexadecimal, sizeof(hexadecimal), "0x%08x", answer);
        return {std::to_string(answer) + " (" + hexadecimal + ")\n", {{"value", m_number}, {"answer", answer}}};
    }

private:
    std::string m_value;
    uint32_t m_number = 0;
};

class CommandA2Command : public Command
{
public:
    CommandTexts texts() const override
    {
        return {"command-a2", "", "send the command 0xA2",
                "Sends the one-byte command 0xA2, whose value is always 0.\n"};
    }

    Result run(Session *session, const Options &) override
    {
        session->check(usctl_cmd_a2(session->unit()));
        return {"command-a2: sent\n"};
    }
};

} // namespace

void add_setting_commands(Commands *commands)
{
    commands->push_back(std::make_unique<RateCommand>());
    commands->push_back(std::make_unique<PowerSaveCommand>());
}

void add_number_commands(Commands *commands)
{
    commands->push_back(std::make_unique<NumberCommand>(
        CommandTexts{"set-u8", "VALUE", "send the one-byte setting",
                     "Sends the setting 0x13 with VALUE (0 to 255, hexadecimal with 0x). It cannot be read back.\n"},
        UINT8_MAX, send_u8));
    commands->push_back(std::make_unique<NumberCommand>(
        CommandTexts{"set-u32", "VALUE", "send the 32-bit setting",
                     "Sends the setting 0x17 with VALUE (0 to 4294967295, hexadecimal with 0x). It cannot be read "
                     "back.\n"},
        UINT32_MAX, usctl_set_u32));
    commands->push_back(std::make_unique<QueryCommand>());
    commands->push_back(std::make_unique<CommandA2Command>());
}

} // namespace kdmxctl
