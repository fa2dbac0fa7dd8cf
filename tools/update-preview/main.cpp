#include "arguments.h"
#include "check.h"
#include "commandline.h"
#include "display.h"
#include "exitcodes.h"
#include "feedfile.h"
#include "feedserver.h"
#include "gallery.h"
#include "interrupts.h"
#include "languages.h"
#include "liverun.h"
#include "output.h"
#include "privatefolder.h"
#include "servicelog.h"

#include <QApplication>
#include <QLocale>

#include <optional>

namespace {

ExitCode refuse(const QString &why)
{
    output::writeError(why);
    output::writeError(QStringLiteral("\"update-preview --help\" tells more."));
    return ExitCode::BadArgument;
}

/// Lets the service fetch the feed, from a server of our own if it is a file. Empty, or why that cannot be done.
QString prepareFeed(const Arguments &arguments, std::optional<FeedServer> *server)
{
    if (arguments.isFeedAddress()) {
        PrivateFolder::setFeed(arguments.feed);
        return {};
    }
    const feedfile::Content content = feedfile::read(arguments.feed);
    if (!content.error.isEmpty())
        return content.error;
    server->emplace(content.bytes);
    if (!(*server)->begin())
        return QStringLiteral("The file cannot be served: %1.").arg((*server)->errorString());
    PrivateFolder::setFeed((*server)->address().toString());
    return {};
}

std::optional<PlayedUnit> playedUnit(const Arguments &arguments)
{
    if (!arguments.unit)
        return std::nullopt;
    return PlayedUnit{*arguments.unit, *arguments.firmware};
}

/// What a run that nobody interrupted has come to; told where no window did.
ExitCode judge(const LiveRun &liveRun)
{
    if (const std::optional<QString> error = liveRun.fetchError()) {
        output::writeError(QStringLiteral("The document could not be fetched: %1.").arg(*error));
        return ExitCode::BadArgument;
    }
    if (!liveRun.hasShown())
        output::writeError(QStringLiteral("There is nothing to show to this user."));
    return ExitCode::Done;
}

ExitCode run(const Arguments &arguments, PrivateFolder *folder)
{
    if (!arguments.language.isEmpty())
        QLocale::setDefault(*languages::fromCode(arguments.language));
    std::optional<FeedServer> server;
    if (const QString error = prepareFeed(arguments, &server); !error.isEmpty()) {
        output::writeError(error);
        return ExitCode::BadArgument;
    }
    LiveRun liveRun(playedUnit(arguments));
    QApplication::exec();
    if (liveRun.hasInstalled())
        output::writeError(QStringLiteral("The installer's files stay in %1.").arg(folder->keepPackages()));
    return interrupts::haveCome() ? ExitCode::Interrupted : judge(liveRun);
}

ExitCode perform(const Arguments &arguments, PrivateFolder *folder)
{
    if (arguments.task == Task::Run)
        return run(arguments, folder);
    folder->setNoFeed();
    if (arguments.task == Task::Gallery)
        return renderGallery(arguments.galleryFolder, arguments.feed);
    return checkFeed(arguments.checkedFile, arguments.firmware, arguments.strict);
}

ExitCode begin(const Arguments &arguments)
{
    if (arguments.task == Task::Tell)
        return output::writeResult(arguments.text) ? ExitCode::Done : ExitCode::Failed;
    if (arguments.task == Task::Refuse)
        return refuse(arguments.text);
    if (arguments.task == Task::Run && !display::isThere())
        return refuse(QStringLiteral("There is no display to show windows on."));
    if (arguments.scale)
        qputenv("QT_SCALE_FACTOR", QByteArray::number(*arguments.scale));

    interrupts::begin();
    PrivateFolder folder;
    if (!folder.isValid()) {
        output::writeError(QStringLiteral("There is no room for temporary files."));
        return ExitCode::Failed;
    }
    if (arguments.task != Task::Run) {
        display::drawInMemory(folder.path());
        servicelog::silence();
    }
    // Qt's own options are not ours: it is given none.
    int count = 1;
    char name[] = "update-preview";
    char *values[] = {name, nullptr};
    const QApplication application(count, values);
    const ExitCode code = perform(arguments, &folder);
    return interrupts::haveCome() ? ExitCode::Interrupted : code;
}

} // namespace

int main(int count, char **values)
{
    const commandline::Utf8Console console;
    return static_cast<int>(begin(parseArguments(commandline::arguments(count, values))));
}
