#include "command.h"
#include "elements.h"
#include "usctl.h"
#include "values.h"

#include <algorithm>

namespace kdmxctl {

namespace {

using Json = nlohmann::ordered_json;

constexpr uint32_t most_blocks = 1000;
constexpr uint32_t poll_interval_ms = 10;

Json json_of(const Element &element)
{
    Json json = {{"id", element.id}, {"name", element_name(element.id)}, {"type", element.type}};
    if (element.has_number())
        json["value"] = element.number;
    if (element.has_bytes()) {
        json["text"] = element.bytes;
        json["hex"] = hex(reinterpret_cast<const uint8_t *>(element.bytes.data()), element.bytes.size());
    }
    return json;
}

/// The elements of a block, one to a line.
std::string lines_of(const Message &message)
{
    std::vector<std::pair<std::string, std::string>> rows;
    for (const Element &element : message.elements) {
        char id[8];
        std::snprintf(id, sizeof(id), "  0x%02x", element.id);
        const std::string value = element_value(element);
        rows.emplace_back(id, element_name(element.id) + (value.empty() ? "" : " ") + value);
    }
    std::string text = table(rows);
    if (!message.flaw.empty())
        text += "  (" + message.flaw + ")\n";
    return text.empty() ? "  (empty)\n" : text;
}

class RawCommand : public Command
{
public:
    CommandTexts texts() const override
    {
        return {"raw", "HEX... [-n BLOCKS]", "send a message, show the answer",
                "Waits until the unit is ready, sends the bytes exactly as given (1 to 64 of them) and then reads "
                "BLOCKS blocks (0 to 1000, default: 1), 10 ms apart.\n\n"
                "Examples:\n"
                "  kdmxctl raw 31 01 00 00\n"
                "  kdmxctl raw -n 3 18010000\n"};
    }

    std::vector<Parameter> parameters() override
    {
        return {{"HEX", &m_words}, {"-n,--blocks", &m_blocks, Need::Optional}};
    }

    bool check(const Options &) override
    {
        m_message = bytes_argument("HEX", m_words);
        m_block_count = number_argument("BLOCKS", m_blocks, 0, most_blocks);
        return false;
    }

    Result run(Session *session, const Options &) override
    {
        uint8_t bytes[USMSG_MAX_SIZE] = {};
        std::copy(m_message.begin(), m_message.end(), bytes);
        const usmsg_buf_t message = {bytes, sizeof(bytes), static_cast<uint8_t>(m_message.size())};
        session->check(usctl_wait_ready(session->unit()));
        session->check(usctl_send(session->unit(), &message));

        const std::string sent = hex(m_message.data(), m_message.size());
        Result result = {"Sent " + count_text(m_message.size(), "byte") + ": " + sent + '\n',
                         {{"sent", sent}, {"blocks", Json::array()}}};
        for (uint32_t number = 1; number <= m_block_count; ++number)
            read_block(session, number, &result);
        return result;
    }

private:
    static void read_block(Session *session, uint32_t number, Result *result)
    {
        if (number > 1)
            usplatform()->sleep(poll_interval_ms);
        uint8_t bytes[USMSG_MAX_SIZE] = {};
        usmsg_buf_t block = {bytes, sizeof(bytes), 0};
        session->check(usctl_recv(session->unit(), &block));
        const Message message = decode(bytes, sizeof(bytes));
        result->text += "Block " + std::to_string(number) + '\n' + lines_of(message);

        Json elements = Json::array();
        for (const Element &element : message.elements)
            elements.push_back(json_of(element));
        Json json = {{"hex", hex(bytes, sizeof(bytes))}, {"elements", elements}};
        if (!message.flaw.empty())
            json["flaw"] = message.flaw;
        result->json["blocks"].push_back(json);
    }

    std::vector<std::string> m_words;
    std::string m_blocks = "1";
    std::vector<uint8_t> m_message;
    uint32_t m_block_count = 1;
};

class DebugCommand : public Command
{
public:
    CommandTexts texts() const override
    {
        return {"debug", "", "show the firmware's debug text",
                "Reads one block and shows the debug text in it, if there is any. Nothing is sent.\n"};
    }

    // The one block that is read may hold the text: no other may be read before it.
    bool wants_probe() const override { return false; }

    Result run(Session *session, const Options &) override
    {
        uint8_t bytes[USMSG_MAX_SIZE];
        uint8_t length = 0;
        session->check(usctl_get_debug(session->unit(), bytes, sizeof(bytes), &length));
        const std::string text = unit_text({bytes, bytes + length});
        if (text.empty())
            return {"No debug text.\n", {{"debug", nullptr}}};
        return {printable(text) + '\n', {{"debug", text}}};
    }
};

} // namespace

void add_raw_commands(Commands *commands)
{
    commands->push_back(std::make_unique<DebugCommand>());
    commands->push_back(std::make_unique<RawCommand>());
}

} // namespace kdmxctl
