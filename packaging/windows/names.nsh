; The names of the files: those of this version, which the compiler knows, and those of an earlier one, which are read
; from the list that it has left in its folder.

; A file's name, below the folder that it is installed into.
Var name
; What is called with each.
Var function
Var list

; Calls FUNCTION with each $name in the list of files that an installation left behind.
!macro CallForEachListed LIST FUNCTION
    StrCpy $list "${LIST}"
    GetFunctionAddress $function ${FUNCTION}
    Call ForEachListed
!macroend

Function ForEachListed
    ClearErrors
    FileOpen $R8 $list r
    ${If} ${Errors}
        Return
    ${EndIf}
    ${Do}
        FileRead $R8 $name
        ${If} ${Errors}
            ${Break}
        ${EndIf}
        ${TrimNewLines} $name $name
        Call IsBelow
        Pop $R9
        ${If} $R9 = 1
            Call $function
        ${EndIf}
        ClearErrors
    ${Loop}
    FileClose $R8
FunctionEnd

; Whether $name cannot lead out of its folder: the list is a file that others could have written to.
Function IsBelow
    StrCpy $R9 $name 1
    ${If} $name == ""
    ${OrIf} $R9 == "\"
        Push 0
        Return
    ${EndIf}
    System::Call 'shlwapi::StrStrW(w "$name", w "..") p.r0'
    System::Call 'shlwapi::StrStrW(w "$name", w ":") p.r1'
    ${If} $0 P= 0
    ${AndIf} $1 P= 0
        Push 1
    ${Else}
        Push 0
    ${EndIf}
FunctionEnd

; Calls FUNCTION with each $name of this version.
!macro CallWithName NAME
    StrCpy $name "${NAME}"
    Call $function
!macroend

!macro CallForEachFile FUNCTION
    GetFunctionAddress $function ${FUNCTION}
    !insertmacro EveryFile CallWithName
    !insertmacro CallWithName "${FILE_LIST}"
    !insertmacro CallWithName "${UNINSTALLER}"
!macroend
