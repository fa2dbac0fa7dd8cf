#include "command.h"

#include "replayplatform.h"

namespace kdmxctl {

std::vector<Parameter> Command::parameters()
{
    return {};
}

bool Command::check(const Options &)
{
    return false;
}

Result Command::run_on(const usplatform_t *platform, const Options &options, TraceWriter *trace)
{
    Session session(platform, options.timeout, trace);
    session.find();
    if (wants_probe())
        session.probe();
    Result result = run(&session, options);
    if (options.replay) {
        replayplatform::finish();
        if (replayplatform::deviation() != nullptr)
            throw session.cause().value();
    }
    return result;
}

Result Command::run(Session *, const Options &)
{
    return {};
}

Failure not_verified(const std::string &what, const std::string &wanted, const std::string &found)
{
    return {ExitCode::Failed,
            what + " was set to " + wanted + ", but the unit reports " + found + ".",
            "",
            {{"expected", wanted}, {"actual", found}}};
}

std::string verified_mark(const Options &options)
{
    return options.verify ? " (verified)" : "";
}

} // namespace kdmxctl
