#include "arguments.h"

#include "languages.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace {

const QString versionText = QStringLiteral("update-preview " KDMX_VERSION " (build " KDMX_BUILD ")\n");

const QString helpText = QStringLiteral(R"(Usage: update-preview --feed URL|FILE [OPTIONS]
       update-preview --gallery DIR [--feed FILE] [--scale FACTOR]
       update-preview --check FILE [--firmware VERSION] [--strict]

Shows what the update service of the KD-MX Series settings panel makes of an
update-information document.

Run the service with its windows:
  --feed URL|FILE       the document; a file is served from 127.0.0.1
  --lang CODE           the user's language: ja, de, zh_CN ...
  --unit NAME           product name of a connected unit, with --firmware
  --firmware VERSION    its firmware: "1.02", "No Device" ...
  --scale FACTOR        draw 1 to 3 times as large

Render every window in every language:
  --gallery DIR         write PNG files and index.html to this folder
  --feed FILE           with the news and versions of this document

Judge a document:
  --check FILE          tell what is wrong with it and who is offered what
  --firmware VERSION    tell it for units with this firmware
  --strict              take warnings for errors

  -h, --help            show this help
  --version             show the version

The user's own settings are neither read nor written.

Exit codes:
  0  done               2  bad argument, or a document that cannot be read
  1  invalid document   130  interrupted

Examples:
  update-preview --check feed.json --strict
  update-preview --feed feed.json --lang ja --unit KD-MX4 --firmware 1.02
  update-preview --gallery pictures --feed feed.json

update-preview(1) tells more.
)");

/// The values as the parser leaves them.
struct Values
{
    std::optional<std::string> feed;
    std::optional<std::string> language;
    std::optional<std::string> unit;
    std::optional<std::string> firmware;
    std::optional<std::string> gallery;
    std::optional<std::string> check;
    std::optional<double> scale;
    bool strict = false;
};

void define(CLI::App *app, Values *values)
{
    app->add_option("--feed", values->feed);
    app->add_option("--lang", values->language);
    app->add_option("--unit", values->unit);
    app->add_option("--firmware", values->firmware);
    app->add_option("--gallery", values->gallery);
    app->add_option("--check", values->check);
    app->add_option("--scale", values->scale);
    app->add_flag("--strict", values->strict);
    app->set_version_flag("--version", versionText.toStdString());
}

QString text(const std::optional<std::string> &value)
{
    return QString::fromStdString(value.value_or(std::string()));
}

std::optional<QString> optionalText(const std::optional<std::string> &value)
{
    return value ? std::optional(text(value)) : std::nullopt;
}

Arguments telling(Task task, const QString &text)
{
    Arguments arguments;
    arguments.task = task;
    arguments.text = text;
    return arguments;
}

Task taskOf(const Values &values)
{
    if (values.check)
        return Task::Check;
    if (values.gallery)
        return Task::Gallery;
    return values.feed ? Task::Run : Task::Refuse;
}

/// The first option that was given and does not go with the task; empty if there is none.
QString strayOption(const Values &values, Task task)
{
    struct Rule
    {
        const char *name;
        bool given;
        bool goesWith;
    };
    const bool runs = task == Task::Run;
    const bool draws = task == Task::Gallery;
    const bool checks = task == Task::Check;
    const Rule rules[] = {
        {"--gallery", values.gallery.has_value(), draws},
        {"--feed", values.feed.has_value(), runs || draws},
        {"--lang", values.language.has_value(), runs},
        {"--unit", values.unit.has_value(), runs},
        {"--firmware", values.firmware.has_value(), runs || checks},
        {"--scale", values.scale.has_value(), runs || draws},
        {"--strict", values.strict, checks},
    };
    for (const Rule &rule : rules) {
        if (rule.given && !rule.goesWith)
            return QString::fromLatin1(rule.name);
    }
    return {};
}

/// What is wrong with options that the parser has taken; empty if nothing is.
QString complaint(const Values &values, const Arguments &arguments)
{
    if (arguments.task == Task::Refuse)
        return QStringLiteral("Say what to do: --feed, --gallery or --check.");
    if (const QString stray = strayOption(values, arguments.task); !stray.isEmpty())
        return stray
            + (arguments.task == Task::Check         ? QStringLiteral(" does not go with --check.")
                   : arguments.task == Task::Gallery ? QStringLiteral(" does not go with --gallery.")
                                                     : QStringLiteral(" needs --check."));
    if (arguments.task == Task::Run && values.unit.has_value() != values.firmware.has_value())
        return QStringLiteral("--unit and --firmware need each other.");
    if (arguments.task == Task::Gallery && arguments.isFeedAddress())
        return QStringLiteral("A gallery contacts nothing: --feed names a file there.");
    if (values.language && !languages::fromCode(arguments.language))
        return QStringLiteral("There is no language \"%1\". Give its code, such as ja, de or zh_CN.")
            .arg(arguments.language);
    if (values.scale && !(*values.scale >= 1 && *values.scale <= 3))
        return QStringLiteral("The --scale is 1 to 3.");
    return {};
}

Arguments understood(const Values &values)
{
    Arguments arguments;
    arguments.task = taskOf(values);
    arguments.feed = text(values.feed);
    arguments.language = text(values.language);
    arguments.unit = optionalText(values.unit);
    arguments.firmware = optionalText(values.firmware);
    arguments.galleryFolder = text(values.gallery);
    arguments.checkedFile = text(values.check);
    arguments.strict = values.strict;
    arguments.scale = values.scale;
    const QString wrong = complaint(values, arguments);
    return wrong.isEmpty() ? arguments : telling(Task::Refuse, wrong);
}

} // namespace

bool Arguments::isFeedAddress() const
{
    return feed.startsWith(QStringLiteral("http://"), Qt::CaseInsensitive)
        || feed.startsWith(QStringLiteral("https://"), Qt::CaseInsensitive);
}

Arguments parseArguments(const std::vector<std::string> &words)
{
    CLI::App app;
    Values values;
    define(&app, &values);
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp &) {
        return telling(Task::Tell, helpText);
    } catch (const CLI::CallForVersion &) {
        return telling(Task::Tell, versionText);
    } catch (const CLI::ParseError &error) {
        return telling(Task::Refuse, QString::fromStdString(error.what()));
    }
    return understood(values);
}
