#include "conversation.h"
#include "headerfile.h"
#include "markdown.h"
#include "transcript.h"
#include "usctl.h"
#include "virtualplatform.h"
#include "virtualunit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iomanip>
#include <regex>
#include <set>
#include <sstream>

// Every byte that docs/protocol.md shows is what the link and the virtual unit say to each other, and its tables are
// those of the code.

namespace {

constexpr uint32_t monitor = USMSG_DATA_CH_DIRECTMONITOR_OUT;
constexpr uint32_t analog_in = USMSG_DATA_CH_ANALOG_IN;

/// A call that the document shows: the state of the unit before it, and what it gives, in the document's words.
struct Example
{
    std::string call;
    std::function<void(virtualunit_t *)> prepare;
    std::function<std::string(usdev_t **)> run;
};

std::string text_of(uint32_t number)
{
    return std::to_string(number);
}

void leave_as_it_is(virtualunit_t *) { }

std::string get_hz(usdev_t **unit)
{
    uint32_t hz = 0;
    const int result = usctl_get_hz(unit, &hz);
    return std::to_string(result) + ", hz = " + text_of(hz);
}

std::string get_autopowersave(usdev_t **unit)
{
    uint8_t value = 0;
    const int result = usctl_get_autopowersave(unit, &value);
    return std::to_string(result) + ", value = " + text_of(value);
}

std::string get_productname(usdev_t **unit)
{
    uint8_t name[32];
    uint8_t length = 0;
    const int result = usctl_get_productname(unit, name, sizeof(name), &length);
    return std::to_string(result) + ", name = \"" + std::string(name, name + length) + '"';
}

std::string get_info(usdev_t **unit)
{
    uint8_t info[32];
    uint8_t length = 0;
    const int result = usctl_get_info(unit, info, sizeof(info), &length);
    return std::to_string(result) + ", info = \"" + std::string(info, info + length) + '"';
}

std::string get_fader(usdev_t **unit)
{
    uint8_t level = 0;
    const int result = usctl_get_fader(unit, monitor, 1, &level);
    return std::to_string(result) + ", level = " + text_of(level);
}

std::string query_u32(usdev_t **unit)
{
    uint32_t answer = 0;
    const int result = usctl_query_u32(unit, 5, &answer);
    return std::to_string(result) + ", answer = " + text_of(answer);
}

std::string get_debug(usdev_t **unit)
{
    uint8_t text[32];
    uint8_t length = 0;
    const int result = usctl_get_debug(unit, text, sizeof(text), &length);
    return std::to_string(result) + ", text = \"" + std::string(text, text + length) + '"';
}

std::string dump_routes(usdev_t **unit)
{
    char text[256] = {};
    const int result = usctl_dump_routes(unit, text, sizeof(text), nullptr);
    std::string lines = text;
    lines.erase(lines.find_last_not_of('\n') + 1);
    return std::to_string(result) + ", text = \"" + lines + '"';
}

std::string send_two_settings(usdev_t **unit)
{
    uint8_t bytes[USMSG_MAX_SIZE] = {};
    usmsg_buf_t buf = {};
    usmsg_init(&buf, bytes, sizeof(bytes));
    usctl_put_ch_value(&buf, analog_in, 1, USMSG_ID_SET_FADER, 100);
    usctl_put_ch_value(&buf, analog_in, 2, USMSG_ID_SET_MUTE, 1);
    usmsg_put(&buf, USMSG_ID_END, USMSG_DATA_TYPE_END, 0, 0);
    return std::to_string(usctl_send(unit, &buf));
}

/// Moves an image of this size; its bytes count up from 0.
std::string update_firmware(usdev_t **unit, uint32_t size)
{
    std::vector<uint8_t> image(size);
    for (uint32_t at = 0; at < size; ++at)
        image[at] = static_cast<uint8_t>(at);
    testing::internal::CaptureStdout();
    const int result = usctl_fw_update(unit, image.data(), size, nullptr);
    testing::internal::GetCapturedStdout();
    return std::to_string(result);
}

template <typename Call>
std::function<std::string(usdev_t **)> result_of(Call call)
{
    return [call](usdev_t **unit) { return std::to_string(call(unit)); };
}

const std::vector<Example> &examples()
{
    static const std::vector<Example> all = {
        {"usctl_wait_ready(unit)", [](virtualunit_t *unit) { unit->busy_reads = 2; }, result_of(usctl_wait_ready)},
        {"usctl_get_hz(unit, &hz)", [](virtualunit_t *unit) { unit->hz = 96000; }, get_hz},
        {"usctl_set_autopowersave(unit, 1)", leave_as_it_is,
         result_of([](usdev_t **unit) { return usctl_set_autopowersave(unit, 1); })},
        {"usctl_get_autopowersave(unit, &value)", [](virtualunit_t *unit) { unit->autopowersave = 1; },
         get_autopowersave},
        {"usctl_get_productname(unit, name, sizeof(name), &length)",
         [](virtualunit_t *unit) {
             unit->version = 0x0123;
             unit->build = 0x0456;
         },
         get_productname},
        {"usctl_get_info(unit, info, sizeof(info), &length)",
         [](virtualunit_t *unit) {
             unit->version = 0x0123;
             unit->build = 0x0456;
         },
         get_info},
        {"usctl_query_u32(unit, 5, &answer)", [](virtualunit_t *unit) { unit->setting_u32 = 1000; }, query_u32},
        {"usctl_set_fader(unit, USMSG_DATA_CH_DIRECTMONITOR_OUT, 1, 200)", leave_as_it_is,
         result_of([](usdev_t **unit) { return usctl_set_fader(unit, monitor, 1, 200); })},
        {"usctl_get_fader(unit, USMSG_DATA_CH_DIRECTMONITOR_OUT, 1, &level)",
         [](virtualunit_t *unit) { virtualunit_strip(unit, monitor, 1)->fader = 200; }, get_fader},
        {"usctl_set_mute(unit, USMSG_DATA_CH_ANALOG_IN, 2, 1)", leave_as_it_is,
         result_of([](usdev_t **unit) { return usctl_set_mute(unit, analog_in, 2, 1); })},
        {"usctl_set_stereo(unit, USMSG_DATA_CH_ANALOG_IN, 1, USMSG_DATA_CH_TYPE_STEREO)", leave_as_it_is,
         result_of([](usdev_t **unit) { return usctl_set_stereo(unit, analog_in, 1, USMSG_DATA_CH_TYPE_STEREO); })},
        {"usctl_set_u8(unit, 127)", leave_as_it_is, result_of([](usdev_t **unit) { return usctl_set_u8(unit, 127); })},
        {"usctl_set_u32(unit, 0x01020304)", leave_as_it_is,
         result_of([](usdev_t **unit) { return usctl_set_u32(unit, 0x01020304); })},
        {"usctl_cmd_a2(unit)", leave_as_it_is, result_of(usctl_cmd_a2)},
        {"two settings in one message", leave_as_it_is, send_two_settings},
        {"usctl_set_route(unit, USMSG_DATA_CH_DIRECTMONITOR_OUT, 1, USMSG_DATA_CH_MASTER_OUT, 1)", leave_as_it_is,
         result_of([](usdev_t **unit) { return usctl_set_route(unit, monitor, 1, USMSG_DATA_CH_MASTER_OUT, 1); })},
        {"usctl_dump_routes(unit, text, sizeof(text), &length)",
         [](virtualunit_t *unit) {
             unit->route_count = 1;
             unit->routes[0] = {{monitor, 1}, {USMSG_DATA_CH_MASTER_OUT, 1}};
         },
         dump_routes},
        {"usctl_get_debug(unit, text, sizeof(text), &length)",
         [](virtualunit_t *unit) { virtualunit_say(unit, "boot ok", 7); }, get_debug},
        {"usctl_fw_update(unit, image, 10, &progress)", [](virtualunit_t *unit) { unit->firmware.allowance = 4096; },
         [](usdev_t **unit) { return update_firmware(unit, 10); }},
        {"usctl_fw_update(unit, image, 150, &progress)", [](virtualunit_t *unit) { unit->firmware.allowance = 100; },
         [](usdev_t **unit) { return update_firmware(unit, 150); }},
    };
    return all;
}

/// Runs an example against a virtual unit.
markdown::Block shown(const Example &example, const std::string &kind)
{
    virtualunit_t unit;
    virtualunit_init(&unit);
    example.prepare(&unit);
    usplatform_use(virtualplatform::with(&unit, virtualplatform::Pauses::Counted));
    usdev_list_t list = {};
    usdev_t *device = nullptr;
    usdev_list_init(&list);
    EXPECT_EQ(usdev_list_next(&list, &device), 0);

    const Transcript transcript;
    const std::string result = example.run(&device);
    usplatform_use(nullptr);
    std::vector<std::string> lines = kind == "exchange" ? transcript.exchange() : transcript.messages();
    lines.insert(lines.begin(), example.call + " -> " + result);
    return {kind, lines};
}

/// The lines of a block as they are compared: blanks do not matter.
std::vector<std::string> compared(const markdown::Block &block)
{
    std::vector<std::string> lines;
    std::transform(block.lines.begin(), block.lines.end(), std::back_inserter(lines), markdown::squeezed);
    return lines;
}

std::string joined(const std::vector<std::string> &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + '\n';
    return text;
}

const std::vector<std::string> &document()
{
    static const std::vector<std::string> lines = markdown::lines_of(KDMX_DOCUMENT);
    return lines;
}

std::vector<markdown::Block> blocks_of(const std::set<std::string> &kinds)
{
    std::vector<markdown::Block> found = markdown::blocks(document());
    std::erase_if(found, [&](const markdown::Block &block) { return !kinds.contains(block.kind); });
    return found;
}

std::string call_of(const markdown::Block &block)
{
    const std::string &line = block.lines.at(0);
    return line.substr(0, line.find(" -> "));
}

/// The one block of a kind; an empty one when there is none.
markdown::Block only_block(const std::string &kind)
{
    const std::vector<markdown::Block> found = blocks_of({kind});
    EXPECT_EQ(found.size(), 1u) << kind;
    return found.empty() ? markdown::Block() : found.front();
}

/// The bytes at the beginning of each line, up to the words after them.
std::vector<std::vector<uint8_t>> bytes_of_lines(const markdown::Block &block)
{
    std::vector<std::vector<uint8_t>> all;
    const std::regex byte("[0-9A-F]{2}");
    for (const std::string &line : block.lines) {
        std::vector<uint8_t> bytes;
        std::istringstream words(line);
        for (std::string word; words >> word && std::regex_match(word, byte);)
            bytes.push_back(static_cast<uint8_t>(std::stoul(word, nullptr, 16)));
        all.push_back(bytes);
    }
    return all;
}

std::vector<uint8_t> flattened(const std::vector<std::vector<uint8_t>> &parts)
{
    std::vector<uint8_t> bytes;
    for (const auto &part : parts)
        bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

/// The I/O controls of a command: its message, and the read before it.
std::vector<std::vector<uint8_t>> requests_of_a_command()
{
    Conversation conversation;
    EXPECT_EQ(usctl_cmd_a2(&conversation.unit), 0);
    std::vector<std::vector<uint8_t>> requests;
    for (const ScriptedPlatform::Request &request : conversation.platform.requests)
        requests.push_back(request.in);
    return requests;
}

/// What the setup packet of a control transfer says when a request of the driver is put on the bus.
std::vector<uint8_t> setup_of(const std::vector<uint8_t> &request)
{
    const bool is_write = request.at(15) == USDEV_REQ_WRITE;
    const uint8_t length = is_write ? request.at(4) : USMSG_MAX_SIZE;
    return {static_cast<uint8_t>(is_write ? 0x40 : 0xC0),
            request.at(15),
            request.at(10),
            request.at(11),
            request.at(12),
            request.at(13),
            length,
            0};
}

/// The types that one side sends an identifier with, as the comment of the header tells: "NONE", "NONE or U8", "".
std::string types_of(const headerfile::Entry &entry, const std::string &side)
{
    std::string types;
    const std::regex part("(?:^|; )(both|host|unit), ([A-Z0-9]+(?: or [A-Z0-9]+)*)(?=[:,])");
    for (std::sregex_iterator match(entry.comment.begin(), entry.comment.end(), part), end; match != end; ++match) {
        if ((*match)[1] != side && (*match)[1] != "both")
            continue;
        EXPECT_EQ(types, "") << entry.name << ": two parts of the comment tell what the " << side << " sends";
        types = (*match)[2];
    }
    return types;
}

bool contains(const std::vector<markdown::Row> &rows, const markdown::Row &row)
{
    return std::find(rows.begin(), rows.end(), row) != rows.end();
}

std::string hex_of(uint32_t value)
{
    std::ostringstream text;
    text << "0x" << std::hex << std::uppercase << std::setw(2) << std::setfill('0') << value;
    return text.str();
}

} // namespace

TEST(ProtocolDocument, EveryExampleIsWhatIsSaid)
{
    for (const markdown::Block &block : blocks_of({"exchange", "message"})) {
        const auto example = std::find_if(examples().begin(), examples().end(),
                                          [&](const Example &known) { return known.call == call_of(block); });
        ASSERT_NE(example, examples().end()) << "nobody knows how to run: " << call_of(block);
        EXPECT_EQ(joined(compared(block)), joined(compared(shown(*example, block.kind))));
    }
}

TEST(ProtocolDocument, NoExampleIsLeftOut)
{
    std::set<std::string> calls;
    for (const markdown::Block &block : blocks_of({"exchange", "message"}))
        calls.insert(call_of(block));
    for (const Example &example : examples())
        EXPECT_TRUE(calls.contains(example.call)) << example.call;
}

TEST(ProtocolDocument, AWrongByteIsSeen)
{
    const Example &example = examples().front();
    const markdown::Block right = shown(example, "exchange");
    markdown::Block wrong = right;
    wrong.lines.at(1).at(wrong.lines.at(1).find("A1") + 1) = '2';
    EXPECT_NE(compared(wrong), compared(right));
}

TEST(ProtocolDocument, DriverRequestsAreThoseOfACommand)
{
    const std::vector<std::vector<uint8_t>> requests = requests_of_a_command();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(flattened(bytes_of_lines(only_block("driver-read"))), requests.at(0));
    EXPECT_EQ(flattened(bytes_of_lines(only_block("driver-write"))), requests.at(1));
}

TEST(ProtocolDocument, SetupPacketsSayWhatTheDriverIsTold)
{
    const std::vector<std::vector<uint8_t>> setups = bytes_of_lines(only_block("setup"));
    const std::vector<std::vector<uint8_t>> requests = requests_of_a_command();
    ASSERT_EQ(setups.size(), 2u);
    EXPECT_EQ(setups.at(0), setup_of(requests.at(1)));
    EXPECT_EQ(setups.at(1), setup_of(requests.at(0)));
}

TEST(ProtocolDocument, VocabularyIsThatOfTheCode)
{
    std::vector<markdown::Row> expected;
    for (const headerfile::Entry &entry : headerfile::entries("USMSG_ID_"))
        expected.push_back({hex_of(entry.value), entry.name, types_of(entry, "host"), types_of(entry, "unit")});
    ASSERT_GT(expected.size(), 30u) << "the header was not understood";

    std::vector<markdown::Row> rows = markdown::table(document(), "Vocabulary");
    for (markdown::Row &row : rows) {
        EXPECT_EQ(row.size(), 5u) << row.front();
        EXPECT_FALSE(row.back().empty()) << row.front() << " means nothing";
        row.resize(4);
    }
    for (const markdown::Row &row : expected)
        EXPECT_TRUE(contains(rows, row)) << "only in the code: " << testing::PrintToString(row);
    for (const markdown::Row &row : rows)
        EXPECT_TRUE(contains(expected, row)) << "only in the document: " << testing::PrintToString(row);
    EXPECT_TRUE(rows == expected) << "the rows, or their order";
}

TEST(ProtocolDocument, TypesAndChannelsAreThoseOfTheCode)
{
    const auto check = [](const char *heading, const char *beginning) {
        std::vector<markdown::Row> expected;
        for (const headerfile::Entry &entry : headerfile::entries(beginning)) {
            // The stereo modes, USMSG_DATA_CH_TYPE_, begin like the channels.
            if (!entry.name.starts_with("TYPE_"))
                expected.push_back({std::to_string(entry.value), entry.name});
        }
        std::vector<markdown::Row> rows = markdown::table(document(), heading);
        for (markdown::Row &row : rows)
            row.resize(2);
        EXPECT_EQ(rows, expected) << heading;
    };
    check("Types", "USMSG_DATA_TYPE_");
    check("Channels", "USMSG_DATA_CH_");
}
