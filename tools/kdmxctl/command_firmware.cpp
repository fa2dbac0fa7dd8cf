#include "command.h"
#include "firmwareimage.h"
#include "identity.h"
#include "interrupts.h"
#include "progress.h"
#include "stdstreams.h"
#include "terminal.h"

namespace kdmxctl {

namespace {

// A data element: its identifier, its type, the number of its bytes, then the bytes.
constexpr uint32_t data_length_at = 2;

/// Bytes of the image that a transfer has brought into the unit.
uint32_t image_bytes(const uswatch_transfer_t &transfer)
{
    if (transfer.kind != uswatch_transfer_t::WRITE || transfer.error != 0 || transfer.length <= data_length_at)
        return 0;
    const bool is_data = transfer.data[0] == USMSG_ID_FW_DATA || transfer.data[0] == USMSG_ID_FW_DATA_LAST;
    return is_data ? transfer.data[data_length_at] : 0;
}

bool is_cancelled()
{
    return interrupts::count() > 0 || interrupts::must_end();
}

bool is_yes(const std::string &answer)
{
    return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes" || answer == "YES";
}

/// Restores a session's watching functions when a function that has set its own ends.
class Watching
{
public:
    explicit Watching(Session *session)
        : m_session(session)
        , m_on_transfer(session->on_transfer)
        , m_must_stop(session->must_stop)
    {
    }

    ~Watching()
    {
        m_session->on_transfer = m_on_transfer;
        m_session->must_stop = m_must_stop;
    }

    Watching(const Watching &) = delete;
    Watching &operator=(const Watching &) = delete;

private:
    Session *m_session;
    std::function<void(const uswatch_transfer_t &)> m_on_transfer;
    std::function<bool(int)> m_must_stop;
};

class FirmwareCommand : public Command
{
public:
    CommandTexts texts() const override
    {
        return {"firmware", "IMAGE [--yes]", "move an image into the unit",
                "Shows the unit and the image, asks, moves the image and waits until the unit confirms it. Without a "
                "terminal to ask on, --yes must be given. The program does not know which image suits which unit.\n\n"
                "The first Ctrl-C during the transfer warns, the second stops it and leaves the unit without valid "
                "firmware.\n\n"
                "Examples:\n"
                "  kdmxctl firmware kd-mx2.bin\n"
                "  kdmxctl firmware kd-mx2.bin --yes --json\n"};
    }

    std::vector<Parameter> parameters() override
    {
        return {{"IMAGE", &m_path}, {"-y,--yes", &m_is_confirmed, Need::Optional}};
    }

    bool check(const Options &) override
    {
        m_image = read_firmware_image(m_path);
        if (!m_is_confirmed && !(terminal::has_input() && terminal::has_error_output()))
            throw bad_argument("Without a terminal to ask on, firmware needs --yes.");
        return false;
    }

    Result run(Session *session, const Options &options) override
    {
        const Identity identity = read_short_identity(session);
        show(identity, options);
        if (!m_is_confirmed)
            ask(session);
        const uint32_t sent = move(session, options);
        return {"The unit has confirmed the image.\n",
                {{"product", identity.product},
                 {"version", identity.version},
                 {"build", identity.build},
                 {"image", m_path},
                 {"size", m_image.size()},
                 {"crc32", crc32_text(m_image.crc32)},
                 {"sent", sent},
                 {"confirmed", true}}};
    }

private:
    void show(const Identity &identity, const Options &options) const
    {
        const std::string text = table({{"Unit", shown_text(identity.product)},
                                        {"Firmware version", version_text(identity.version)},
                                        {"Firmware build", version_text(identity.build)},
                                        {"Image", m_path},
                                        {"Size", count_text(m_image.size(), "byte")},
                                        {"CRC-32", crc32_text(m_image.crc32)}});
        if (options.json)
            stdstreams::write_error(text);
        // What cannot be shown must not be done.
        else if (write_result_text(text) != ExitCode::Done)
            throw Failure{ExitCode::Failed, "Nothing was sent."};
    }

    static void ask(Session *session)
    {
        const auto begin = std::chrono::steady_clock::now();
        stdstreams::write_error("Replace the unit's firmware with this image? [y/N] ");
        const std::optional<std::string> answer = terminal::read_line(is_cancelled);
        session->extend_timeout(std::chrono::steady_clock::now() - begin);
        if (!answer)
            stdstreams::write_error("\n");
        if (is_cancelled())
            throw Failure{ExitCode::Interrupted, "Interrupted. Nothing was sent."};
        if (!answer || !is_yes(*answer))
            throw Failure{ExitCode::Failed, "Not confirmed. Nothing was sent."};
    }

    /// Returns the number of bytes sent.
    uint32_t move(Session *session, const Options &options)
    {
        // Other lines on the terminal would tear the bar apart.
        const bool is_terminal_shared = options.log == "-" || options.trace == "-";
        Progress progress(m_image.size(), terminal::has_error_output() && !is_terminal_shared);
        uint32_t sent = 0;
        bool is_warned = false;
        progress.update(0);
        interrupts::survive_hangup();
        const Watching watching(session);
        session->on_transfer = [&](const uswatch_transfer_t &transfer) {
            const uint32_t bytes = image_bytes(transfer);
            sent += bytes;
            if (bytes > 0)
                progress.update(sent);
        };
        session->must_stop = [&](int interrupts) {
            if (interrupts == 1 && !is_warned) {
                is_warned = true;
                progress.say("Stopping now leaves the unit without valid firmware. Press Ctrl-C again to stop.");
            }
            return interrupts > 1;
        };
        const int result = usctl_fw_update(session->unit(), m_image.bytes.data(), m_image.size(), nullptr);
        progress.end();
        if (result != 0)
            throw not_moved(*session, sent);
        return sent;
    }

    Failure not_moved(const Session &session, uint32_t sent) const
    {
        Failure failure = session.failure(
            session.has_answered() ? Failure{ExitCode::Failed, "The unit did not take or did not confirm the image."}
                                   : Failure{ExitCode::Mute, "The unit does not answer."});
        failure.message += " Sent: " + std::to_string(sent) + " of " + count_text(m_image.size(), "byte") + '.';
        failure.details["sent"] = sent;
        failure.details["size"] = m_image.size();
        const std::string warning = "The unit may be without valid firmware. Run the command again before you switch "
                                    "the unit off.";
        failure.hint += (failure.hint.empty() ? "" : "\n") + warning;
        return failure;
    }

    std::string m_path;
    bool m_is_confirmed = false;
    FirmwareImage m_image;
};

} // namespace

void add_firmware_commands(Commands *commands)
{
    commands->push_back(std::make_unique<FirmwareCommand>());
}

} // namespace kdmxctl
