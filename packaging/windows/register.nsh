; What is registered with Windows: an entry in the Start menu, and one in the list of apps.

!macro WriteApp VALUE TEXT
    WriteRegStr HKCU "${APPS_KEY}" "${VALUE}" '${TEXT}'
!macroend

!macro WriteAppNumber VALUE NUMBER
    WriteRegDWORD HKCU "${APPS_KEY}" "${VALUE}" ${NUMBER}
!macroend

Function Register
    ClearErrors
    Call WriteShortcut
    !insertmacro WriteApp "DisplayName" "${PRODUCT}"
    !insertmacro WriteApp "DisplayVersion" "${DISPLAY_VERSION}"
    !insertmacro WriteApp "Publisher" "${PUBLISHER}"
    !insertmacro WriteApp "DisplayIcon" "$INSTDIR\${PANEL},0"
    !insertmacro WriteApp "InstallLocation" "$INSTDIR"
    !insertmacro WriteApp "UninstallString" '"$INSTDIR\${UNINSTALLER}"'
    !insertmacro WriteApp "QuietUninstallString" '"$INSTDIR\${UNINSTALLER}" /S'
    !insertmacro WriteAppNumber "EstimatedSize" ${SIZE_KIB}
    !insertmacro WriteAppNumber "NoModify" 1
    !insertmacro WriteAppNumber "NoRepair" 1
    ${If} ${Errors}
        StrCpy $exitCode ${NOT_REGISTERED}
    ${EndIf}
FunctionEnd

; Unless they belong to a later installation: its panel is still there, this one's is gone by now. Names are not
; compared: one folder can have several.
Function un.Register
    ReadRegStr $R0 HKCU "${APPS_KEY}" "InstallLocation"
    ${IfNot} ${FileExists} "$R0\${PANEL}"
        Delete "${SHORTCUT}"
        DeleteRegKey HKCU "${APPS_KEY}"
    ${EndIf}
FunctionEnd
