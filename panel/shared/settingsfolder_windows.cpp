#include "settingsfolder.h"

#include <QDir>

#include <windows.h>

#include <shlobj.h>

QString settingsFolder()
{
    wchar_t *path = nullptr;
    const HRESULT result = SHGetKnownFolderPath(FOLDERID_RoamingAppData, KF_FLAG_DONT_VERIFY, nullptr, &path);
    // Every user has one; without it the settings are at least theirs.
    const QString folder =
        SUCCEEDED(result) ? QDir::fromNativeSeparators(QString::fromWCharArray(path)) : QDir::homePath();
    CoTaskMemFree(path);
    return folder;
}
