; The installer for Windows: 64-bit, for one user, without administrator rights. Compiled by make-installer, which says
; what it is made of and passes:
;
;   VERSION "1.10", BUILD "0006"       of the identity header
;   FILE_VERSION "1.10.6.0"            the same as Windows wants it in a file
;   LISTS                              folder of files.nsh and installed-files.txt: what is to be installed
;   SIZE_KIB                           its size
;   ICON, WELCOME_IMAGE                pictures
;   OUTPUT                             the installer to be written
;   SIGN                               if anything is to be signed: the program that signs a file
;
; README.md says what it does and which exit codes it has.

Unicode true
Target amd64-unicode
RequestExecutionLevel user
ManifestDPIAware true
ManifestSupportedOS Win10
SetCompressor /SOLID lzma
; Times of files would make two builds of the same differ.
SetDateSave off
AllowSkipFiles off

!include LogicLib.nsh
!include FileFunc.nsh
!include TextFunc.nsh
!include WordFunc.nsh
!include WinVer.nsh
!include nsDialogs.nsh
!include MUI2.nsh

!define PRODUCT "VELMAR KD-MX Series"
; The maker, as in the version block of the programs.
!define PUBLISHER "ORMEL Corporation"
!define DISPLAY_VERSION "${VERSION}.${BUILD}"
!define PANEL "KD-MX_Series.exe"
!define UNINSTALLER "uninstall.exe"
!define FILE_LIST "installed-files.txt"
!define APPS_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\VELMAR.KD-MXSeries"
!define SHORTCUT "$SMPROGRAMS\${PRODUCT}.lnk"
!define DEFAULT_PARENT "$LOCALAPPDATA\Programs\VELMAR"
; The first Windows 10 that the programs' Qt runs on (version 1809).
!define OLDEST_WINDOWS_BUILD 17763

; Exit codes. Windows and NSIS themselves give 0, 1 (cancelled by the user) and 2 (the installer is damaged).
!define CANCELLED 1
!define IN_USE 3
!define NOT_WRITTEN 4
!define NEWER_INSTALLED 5
!define WINDOWS_TOO_OLD 6
!define ALREADY_RUNNING 7
!define NOT_REGISTERED 8

Name "${PRODUCT}"
BrandingText "${PRODUCT} ${VERSION}"
OutFile "${OUTPUT}"
InstallDir "${DEFAULT_PARENT}\KD-MX Series"
; By default over an earlier installation.
InstallDirRegKey HKCU "${APPS_KEY}" "InstallLocation"
ShowInstDetails nevershow
ShowUninstDetails nevershow

VIProductVersion "${FILE_VERSION}"
VIFileVersion "${FILE_VERSION}"
VIAddVersionKey /LANG=1033 "CompanyName" "${PUBLISHER}"
VIAddVersionKey /LANG=1033 "FileDescription" "${PRODUCT} Setup"
VIAddVersionKey /LANG=1033 "FileVersion" "${DISPLAY_VERSION}"
VIAddVersionKey /LANG=1033 "LegalCopyright" "© 2026 ${PUBLISHER}. All rights reserved."
VIAddVersionKey /LANG=1033 "ProductName" "${PRODUCT}"
VIAddVersionKey /LANG=1033 "ProductVersion" "${VERSION} ${BUILD}"

!ifdef SIGN
    !uninstfinalize '"${SIGN}" "%1"' = 0
!endif

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_WELCOMEFINISHPAGE_BITMAP "${WELCOME_IMAGE}"
!define MUI_FINISHPAGE_RUN "$INSTDIR\${PANEL}"

!define MUI_WELCOMEPAGE_TEXT $(welcome)
!insertmacro MUI_PAGE_WELCOME
!define MUI_PAGE_CUSTOMFUNCTION_LEAVE MakeFree
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH

UninstPage custom un.ShowQuestion un.LeaveQuestion
!insertmacro MUI_UNPAGE_INSTFILES

; The first is the one for systems in neither language.
!insertmacro MUI_LANGUAGE "English"
!insertmacro MUI_LANGUAGE "Japanese"

; The folder of the installation that is there already, or nothing.
Var previous
; Of a run that has failed.
Var exitCode

!macro EndIfSecondRun
    System::Call 'kernel32::CreateMutexW(p 0, i 0, w "VELMAR.KD-MXSeries.Setup") p ?e'
    Pop $0
    ${If} $0 = 183 ; it exists already
        SetErrorLevel ${ALREADY_RUNNING}
        MessageBox MB_OK|MB_ICONSTOP $(alreadyRunning) /SD IDOK
        Abort
    ${EndIf}
!macroend

!include "${LISTS}/files.nsh"
!include names.nsh
!include inuse.nsh
!include replace.nsh
!include shortcut.nsh
!include register.nsh
!include uninstall.nsh
!include texts.nsh

Function .onInit
    ${IfNot} ${AtLeastWin10}
    ${OrIfNot} ${AtLeastBuild} ${OLDEST_WINDOWS_BUILD}
        SetErrorLevel ${WINDOWS_TOO_OLD}
        MessageBox MB_OK|MB_ICONSTOP $(windowsTooOld) /SD IDOK
        Abort
    ${EndIf}
    !insertmacro EndIfSecondRun
    ReadRegStr $previous HKCU "${APPS_KEY}" "InstallLocation"
    Call RefuseDowngrade
FunctionEnd

Function RefuseDowngrade
    ReadRegStr $R1 HKCU "${APPS_KEY}" "DisplayVersion"
    ${VersionCompare} "$R1" "${DISPLAY_VERSION}" $R2
    ${If} $R2 <> 1
        Return
    ${EndIf}
    ${GetParameters} $R3
    ClearErrors
    ${GetOptions} $R3 "/DOWNGRADE" $R4
    ${IfNot} ${Errors}
        Return
    ${EndIf}
    ${If} ${Silent}
        SetErrorLevel ${NEWER_INSTALLED}
        Abort
    ${EndIf}
    MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 $(replaceNewer) IDYES replace
    SetErrorLevel ${CANCELLED}
    Abort
    replace:
FunctionEnd

; As the folder page is left: staying on it is better than to end half way.
Function MakeFree
    Call CloseWhatIsInUse
    ${If} $inUse != ""
        Abort
    ${EndIf}
FunctionEnd

Section
    AddSize ${SIZE_KIB}
    Call CloseWhatIsInUse
    ${If} $inUse != ""
        StrCpy $exitCode ${IN_USE}
        Abort
    ${EndIf}
    Call StageFiles
    Call ReplaceFiles
    Call Register
    Call RemovePrevious
    ${If} $exitCode <> 0
        SetErrorLevel $exitCode
        MessageBox MB_OK|MB_ICONEXCLAMATION $(notRegistered) /SD IDOK
    ${EndIf}
SectionEnd

; Also after a file could not be unpacked, which ends the section by itself.
Function .onInstFailed
    Call RemoveStaged
    ${If} $exitCode = 0
        StrCpy $exitCode ${NOT_WRITTEN}
    ${EndIf}
    SetErrorLevel $exitCode
    ${If} $exitCode = ${NOT_WRITTEN}
        MessageBox MB_OK|MB_ICONSTOP $(notWritten) /SD IDOK
    ${EndIf}
FunctionEnd
