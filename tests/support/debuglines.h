#pragma once

#include <QStringList>

/**
 * Collects what goes to the default Qt message logger while it lives, and passes it on. One at a time.
 */
class DebugLines
{
public:
    DebugLines();
    ~DebugLines();
    Q_DISABLE_COPY_MOVE(DebugLines)

    /// Debug lines so far, in order, and forgets them.
    static QStringList take();
};
