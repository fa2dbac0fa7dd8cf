; The uninstaller. It removes what the installer has put there, by name, and never a folder with something else in it.
; The driver's settings are the driver's. The panel's settings go only if the user says so.

!define SETTINGS_FOLDER "$APPDATA\VELMAR"
!define SETTINGS "${SETTINGS_FOLDER}\KD-MXSeries.ini"

Var deleteSettings
Var settingsBox

Function un.onInit
    !insertmacro EndIfSecondRun
    StrCpy $deleteSettings 0
FunctionEnd

Function un.ShowQuestion
    !insertmacro MUI_HEADER_TEXT $(removeTitle) $(removeSubtitle)
    nsDialogs::Create 1018
    Pop $0
    ${NSD_CreateLabel} 0 0 100% 36u $(removeText)
    Pop $0
    ${If} ${FileExists} "${SETTINGS}"
        ${NSD_CreateCheckbox} 0 48u 100% 12u $(removeSettings)
        Pop $settingsBox
    ${EndIf}
    ${NSD_CreateLabel} 0 72u 100% 24u $(removeKept)
    Pop $0
    GetDlgItem $0 $HWNDPARENT 1
    SendMessage $0 ${WM_SETTEXT} 0 "STR:$(^UninstallBtn)"
    nsDialogs::Show
FunctionEnd

Function un.LeaveQuestion
    ${If} $settingsBox != ""
        ${NSD_GetState} $settingsBox $deleteSettings
    ${EndIf}
    Call un.CloseWhatIsInUse
    ${If} $inUse != ""
        Abort
    ${EndIf}
FunctionEnd

!macro RemoveFile NAME
    Delete "$INSTDIR\${NAME}"
!macroend

!macro RemoveFolder NAME
    RMDir "$INSTDIR\${NAME}"
!macroend

Function un.RemoveFiles
    ClearErrors
    !insertmacro EveryFile RemoveFile
    ${If} ${Errors}
        StrCpy $exitCode ${NOT_WRITTEN}
        Abort
    ${EndIf}
    ; Deepest first.
    !insertmacro EveryFolderBackwards RemoveFolder
    ; Of an upgrade that could not clean up after itself.
    RMDir /r "${NEW_FILES}"
    RMDir /r "${OLD_FILES}"
    !insertmacro RemoveFile "${FILE_LIST}"
    !insertmacro RemoveFile "${UNINSTALLER}"
    SetOutPath "$TEMP"
    RMDir "$INSTDIR"
    RMDir "${DEFAULT_PARENT}"
FunctionEnd

Function un.RemoveSettings
    Delete "${SETTINGS}"
    ; What the panel keeps of files that it could not read, and what is left of a save that was cut off.
    Delete "${SETTINGS}.*"
    RMDir "${SETTINGS_FOLDER}"
FunctionEnd

Section "un."
    Call un.CloseWhatIsInUse
    ${If} $inUse != ""
        StrCpy $exitCode ${IN_USE}
        Abort
    ${EndIf}
    Call un.RemoveFiles
    Call un.Register
    ${If} $deleteSettings = 1
        Call un.RemoveSettings
    ${EndIf}
SectionEnd

; The entry in the list of apps is still there, so that it can be tried again.
Function un.onUninstFailed
    SetErrorLevel $exitCode
    ${If} $exitCode = ${NOT_WRITTEN}
        MessageBox MB_OK|MB_ICONSTOP $(notRemoved) /SD IDOK
    ${EndIf}
FunctionEnd
