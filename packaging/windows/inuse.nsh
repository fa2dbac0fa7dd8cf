; Programs of the installation that are running: found without touching them, and closed only as a user would do it.
;
; A file that a program has been loaded from cannot be opened for writing. This holds for every program and library, for
; any path, and for programs of other users.

!define SHARING_VIOLATION 32

; The folder that is looked at, and the first of its files that is in use, or nothing.
Var where
Var inUse

!macro FindIfInUse UN
    ; Looks at $name.
    Function ${UN}FindIfInUse
        ; The list is in use while it is read.
        ${If} $inUse != ""
        ${OrIf} $name == "${FILE_LIST}"
            Return
        ${EndIf}
        ; For writing, shared with everybody, existing only.
        System::Call 'kernel32::CreateFileW(w "$where\$name", i 0x40000000, i 7, p 0, i 3, i 0, p 0) p.r0 ?e'
        Pop $1
        ${If} $1 = ${SHARING_VIOLATION}
            StrCpy $inUse "$where\$name"
        ${ElseIf} $0 P<> -1
            System::Call 'kernel32::CloseHandle(p r0)'
        ${EndIf}
    FunctionEnd

    ; Asks the window $0 to close if it is one of the panel in $where.
    Function ${UN}ClosePanelWindow
        System::Call 'user32::GetWindowThreadProcessId(p r0, *i .r1)'
        System::Call 'kernel32::OpenProcess(i 0x1000, i 0, i r1) p.r2' ; to ask for its name
        ${If} $2 P= 0
            Return
        ${EndIf}
        System::Call 'kernel32::QueryFullProcessImageNameW(p r2, i 0, w .r3, *i ${NSIS_MAX_STRLEN})'
        System::Call 'kernel32::CloseHandle(p r2)'
        ${If} $3 == "$where\${PANEL}"
            System::Call 'user32::PostMessageW(p r0, i ${WM_CLOSE}, p 0, p 0)'
        ${EndIf}
    FunctionEnd

    ; Asks every window of it that a user could close now; a message box first, and the window behind it the next time.
    Function ${UN}ClosePanelWindows
        StrCpy $0 0
        ${Do}
            FindWindow $0 "" "" 0 $0
            ${If} $0 P= 0
                ${Break}
            ${EndIf}
            System::Call 'user32::IsWindowVisible(p r0) i.r1'
            System::Call 'user32::IsWindowEnabled(p r0) i.r2'
            ${If} $1 <> 0
            ${AndIf} $2 <> 0
                Call ${UN}ClosePanelWindow
            ${EndIf}
        ${Loop}
    FunctionEnd

    ; Asks the user until nothing is in use; leaves $inUse set if the user would not, or cannot be asked.
    Function ${UN}CloseWhatIsInUse
        Call ${UN}FindInUse
        ${If} $inUse == ""
        ${OrIf} ${Silent}
            Return
        ${EndIf}
        ${If} $inUse == "$where\${PANEL}"
            MessageBox MB_OKCANCEL|MB_ICONQUESTION|MB_SETFOREGROUND $(closePanel) IDOK close
            Return
            close:
            ; Ten seconds: the panel itself takes three at most.
            ${For} $R0 1 50
                Call ${UN}ClosePanelWindows
                Sleep 200
                Call ${UN}FindInUse
                ${If} $inUse == ""
                    Return
                ${EndIf}
            ${Next}
        ${EndIf}
        ${Do}
            MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION|MB_SETFOREGROUND $(closeFile) IDRETRY retry
            Return
            retry:
            Call ${UN}FindInUse
        ${LoopUntil} $inUse == ""
    FunctionEnd
!macroend

!macro LookIfInUse NAME
    StrCpy $name "${NAME}"
    Call FindIfInUse
!macroend

!macro un.LookIfInUse NAME
    StrCpy $name "${NAME}"
    Call un.FindIfInUse
!macroend

; In the folder of the earlier installation, what that one installed; in the folder of this one, what is to come.
Function FindInUse
    StrCpy $inUse ""
    StrCpy $where "$INSTDIR"
    !insertmacro LookIfInUse "${PANEL}"
    !insertmacro EveryFile LookIfInUse
    ${If} $inUse == ""
    ${AndIf} $previous != ""
        StrCpy $where "$previous"
        !insertmacro LookIfInUse "${PANEL}"
        !insertmacro CallForEachListed "$previous\${FILE_LIST}" FindIfInUse
    ${EndIf}
FunctionEnd

Function un.FindInUse
    StrCpy $inUse ""
    StrCpy $where "$INSTDIR"
    !insertmacro un.LookIfInUse "${PANEL}"
    !insertmacro EveryFile un.LookIfInUse
FunctionEnd

!insertmacro FindIfInUse ""
!insertmacro FindIfInUse "un."
