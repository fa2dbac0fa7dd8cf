#include "taskbaridentity.h"

void setTaskbarIdentity()
{
    // The desktop file name does this job.
}
