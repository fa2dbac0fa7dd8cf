#include "output.h"

#include <cstdio>

namespace output {

namespace {

bool write(std::FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    const auto size = static_cast<std::size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stream) == size && std::fflush(stream) == 0;
}

} // namespace

bool writeResult(const QString &text)
{
    return write(stdout, text);
}

void writeLine(const QString &line)
{
    write(stderr, line + u'\n');
}

void writeError(const QString &sentence)
{
    writeLine(QStringLiteral("update-preview: ") + sentence);
}

} // namespace output
