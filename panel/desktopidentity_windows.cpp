#include "desktopidentity.h"

#include <windows.h>

#include <shobjidl.h>

void setDesktopIdentity()
{
    // The icon is the executable's: its pictures are drawn for each size, and any other would be scaled.
    SetCurrentProcessExplicitAppUserModelID(L"VELMAR.KD-MXSeries");
}
