#include "command.h"
#include "identity.h"

namespace kdmxctl {

namespace {

nlohmann::ordered_json text_or_null(const std::string &text)
{
    return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
}

class InfoCommand : public Command
{
public:
    CommandTexts texts() const override
    {
        return {"info", "", "show product and firmware version",
                "Asks the unit who it is. An item that the unit leaves empty is \"not told\" (null with --json).\n"};
    }

    Result run(Session *session, const Options &) override
    {
        const Identity identity = read_identity(session);
        const std::string text = table({{"Product", shown_text(identity.product)},
                                        {"Firmware version", version_text(identity.version)},
                                        {"Firmware build", version_text(identity.build)},
                                        {"Build date", shown_text(identity.build_date)},
                                        {"Build time", shown_text(identity.build_time)},
                                        {"Further text", shown_text(identity.info)}});
        return {text,
                {{"product", text_or_null(identity.product)},
                 {"version", identity.version},
                 {"build", identity.build},
                 {"build_date", text_or_null(identity.build_date)},
                 {"build_time", text_or_null(identity.build_time)},
                 {"info", text_or_null(identity.info)}}};
    }
};

} // namespace

void add_identity_commands(Commands *commands)
{
    commands->push_back(std::make_unique<InfoCommand>());
}

} // namespace kdmxctl
