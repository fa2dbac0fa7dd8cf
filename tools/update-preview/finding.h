#pragma once

#include <QList>
#include <QString>

/// Something to tell about a place of a document.
struct Finding
{
    QString pointer; ///< JSON pointer
    QString words; ///< one sentence or more
};

using Findings = QList<Finding>;

/// The pointer of a member.
inline QString memberPointer(const QString &pointer, QString key)
{
    return pointer + u'/' + key.replace(u'~', QStringLiteral("~0")).replace(u'/', QStringLiteral("~1"));
}
