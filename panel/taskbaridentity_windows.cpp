#include "taskbaridentity.h"

#include <windows.h>

#include <shobjidl.h>

void setTaskbarIdentity()
{
    SetCurrentProcessExplicitAppUserModelID(L"VELMAR.KD-MXSeries");
}
