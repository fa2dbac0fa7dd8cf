#include "check.h"

#include "feedfile.h"
#include "feedoffers.h"
#include "feedschema.h"
#include "feedwarnings.h"
#include "interrupts.h"
#include "output.h"

#include <QDir>

namespace {

QString lines(const QString &kind, const Findings &findings)
{
    QString text;
    for (const Finding &finding : findings)
        text += QStringLiteral("%1: \"%2\": %3\n").arg(kind, finding.pointer, finding.words);
    return text;
}

QString counted(qsizetype count, const QString &thing)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(thing, count == 1 ? QString() : QStringLiteral("s"));
}

QString verdict(bool isValid, qsizetype errors, qsizetype warnings)
{
    return (isValid ? QStringLiteral("valid, ") : QStringLiteral("INVALID, "))
        + counted(errors, QStringLiteral("error")) + QStringLiteral(" and ")
        + counted(warnings, QStringLiteral("warning"));
}

} // namespace

ExitCode checkFeed(const QString &fileName, const std::optional<QString> &firmware, bool strict)
{
    const feedfile::Content content = feedfile::read(fileName);
    if (!content.error.isEmpty()) {
        output::writeError(content.error);
        return ExitCode::BadArgument;
    }
    const QString name = QDir::toNativeSeparators(fileName);
    const feedfile::Parsed parsed = feedfile::parse(content.bytes);
    if (!parsed.error.isEmpty()) {
        output::writeResult(QStringLiteral("%1: INVALID\nerror: \"\": This is %2.\n").arg(name, parsed.error));
        return ExitCode::Failed;
    }
    const Findings errors = feedschema::violations(parsed.document);
    const Findings warnings = feedWarnings(parsed.document);
    // The warnings are not complete then.
    if (interrupts::haveCome())
        return ExitCode::Interrupted;
    const bool isValid = errors.isEmpty() && !(strict && !warnings.isEmpty());
    const QString report = name + QStringLiteral(": ") + verdict(isValid, errors.size(), warnings.size()) + u'\n'
        + lines(QStringLiteral("error"), errors) + lines(QStringLiteral("warning"), warnings) + u'\n'
        + offersInWords(parsed.document, firmware);
    return output::writeResult(report) && isValid ? ExitCode::Done : ExitCode::Failed;
}
