; The files themselves. New ones are unpacked into a folder beside the old ones, which is where a full disk shows; then
; the old are moved away and the new moved in, file by file, and all of it is undone if one of these steps fails. Until
; then the old installation can be used, and afterwards it can be again.

!define NEW_FILES "$INSTDIR\.kdmx-new"
!define OLD_FILES "$INSTDIR\.kdmx-old"
; What an earlier version has installed into this folder. A copy, because the list itself is moved away too.
!define OLD_LIST "$PLUGINSDIR\old-files.txt"

; What could not be moved.
Var failed
Var folderIsNew
; Whether the earlier installation lies in another folder.
Var moves

!macro StageFolder NAME
    CreateDirectory "${NEW_FILES}\${NAME}"
!macroend

!macro StageFile NAME
    File "/oname=${NEW_FILES}\${NAME}" "${LISTS}/folder/${NAME}"
!macroend

Function StageFiles
    StrCpy $folderIsNew 1
    ${If} ${FileExists} "$INSTDIR\*.*"
        StrCpy $folderIsNew 0
    ${EndIf}
    Call RemoveStaged
    ; Of a run that was cut off: it would be taken for what this run puts there, see FindWhetherMoved.
    ${If} $previous != ""
        RMDir /r "$previous\.kdmx-new"
    ${EndIf}
    ClearErrors
    CreateDirectory "${NEW_FILES}"
    !insertmacro EveryFolder StageFolder
    ${If} ${Errors}
        Abort
    ${EndIf}
    !insertmacro EveryFile StageFile
    File "/oname=${NEW_FILES}\${FILE_LIST}" "${LISTS}/installed-files.txt"
    WriteUninstaller "${NEW_FILES}\${UNINSTALLER}"
    ${If} ${Errors}
        Abort
    ${EndIf}
FunctionEnd

Function RemoveStaged
    ; The folder that an output path is set to cannot be removed.
    SetOutPath "$TEMP"
    RMDir /r "${NEW_FILES}"
    ${If} $folderIsNew = 1
        RMDir "$INSTDIR"
        RMDir "${DEFAULT_PARENT}"
    ${EndIf}
FunctionEnd

; Makes the folders that "FOLDER\$name" needs.
!macro MakeParent FOLDER
    ${GetParent} "${FOLDER}\$name" $R5
    CreateDirectory "$R5"
!macroend

Function TakeAway
    ${If} $failed != ""
    ${OrIfNot} ${FileExists} "$INSTDIR\$name"
        Return
    ${EndIf}
    ; A folder of this name is not ours.
    ${If} ${FileExists} "$INSTDIR\$name\*.*"
        StrCpy $failed $name
        Return
    ${EndIf}
    !insertmacro MakeParent "${OLD_FILES}"
    ClearErrors
    Rename "$INSTDIR\$name" "${OLD_FILES}\$name"
    ${If} ${Errors}
        StrCpy $failed $name
    ${EndIf}
FunctionEnd

Function BringIn
    ${If} $failed != ""
        Return
    ${EndIf}
    !insertmacro MakeParent "$INSTDIR"
    ClearErrors
    Rename "${NEW_FILES}\$name" "$INSTDIR\$name"
    ${If} ${Errors}
        StrCpy $failed $name
    ${EndIf}
FunctionEnd

; A file that is no longer among the new ones was brought in.
Function SendOut
    ${IfNot} ${FileExists} "${NEW_FILES}\$name"
        Delete "$INSTDIR\$name"
        Call RemoveEmptyFolders
    ${EndIf}
FunctionEnd

Function PutBack
    ${If} ${FileExists} "${OLD_FILES}\$name"
        !insertmacro MakeParent "$INSTDIR"
        Rename "${OLD_FILES}\$name" "$INSTDIR\$name"
    ${EndIf}
FunctionEnd

; The folders between $where and "$where\$name", as far as they are empty.
Function RemoveEmptyFolders
    ${GetParent} "$name" $R6
    ${DoWhile} $R6 != ""
        RMDir "$where\$R6"
        ${GetParent} "$R6" $R6
    ${Loop}
FunctionEnd

Function ReplaceFiles
    InitPluginsDir
    ; Left by a run that was cut off, when the power failed, say.
    RMDir /r "${OLD_FILES}"
    CopyFiles /SILENT "$INSTDIR\${FILE_LIST}" "${OLD_LIST}"
    Call FindWhetherMoved
    StrCpy $failed ""
    StrCpy $where "$INSTDIR"
    !insertmacro CallForEachListed "${OLD_LIST}" TakeAway
    !insertmacro CallForEachFile TakeAway
    !insertmacro CallForEachFile BringIn
    ${If} $failed == ""
        Return
    ${EndIf}
    !insertmacro CallForEachFile SendOut
    !insertmacro CallForEachListed "${OLD_LIST}" PutBack
    !insertmacro CallForEachFile PutBack
    RMDir /r "${OLD_FILES}"
    Abort
FunctionEnd

; Not by comparing names: one folder can have several.
Function FindWhetherMoved
    StrCpy $moves 0
    ${If} $previous != ""
    ${AndIfNot} ${FileExists} "$previous\.kdmx-new\*.*"
        StrCpy $moves 1
    ${EndIf}
FunctionEnd

Function RemoveFromPrevious
    Delete "$previous\$name"
    Call RemoveEmptyFolders
FunctionEnd

; Once the new files are in use for good.
Function RemovePrevious
    StrCpy $where "$INSTDIR"
    RMDir /r "${OLD_FILES}"
    RMDir /r "${NEW_FILES}"
    !insertmacro CallForEachListed "${OLD_LIST}" RemoveEmptyFolders
    ${If} $moves = 1
        CopyFiles /SILENT "$previous\${FILE_LIST}" "${OLD_LIST}"
        StrCpy $where "$previous"
        !insertmacro CallForEachListed "${OLD_LIST}" RemoveFromPrevious
        RMDir /r "$previous\.kdmx-old"
        RMDir "$previous"
    ${EndIf}
FunctionEnd
