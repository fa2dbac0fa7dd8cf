#pragma once

#include <QtGlobal>

/// How many files, pipes and sockets this process has open.
qsizetype openFiles();
