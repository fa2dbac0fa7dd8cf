; The entry in the Start menu. It carries the application id that the panel gives itself when it starts: otherwise Windows
; takes the pinned entry and the running panel for two programs. NSIS's own command cannot do that.

!include Win\COM.nsh
!include Win\Propkey.nsh

!define APPLICATION_ID "VELMAR.KD-MXSeries"
!define TEXT_PROPERTY 31 ; VT_LPWSTR

; Sets the application id of the shell link $0.
Function SetApplicationId
    ${IUnknown::QueryInterface} $0 '("${IID_IPropertyStore}", .r1)'
    ${If} $1 P= 0
        Return
    ${EndIf}
    System::Call '*${SYSSTRUCT_PROPERTYKEY}(${PKEY_AppUserModel_ID}) p.r2'
    System::Call '*(&i2 ${TEXT_PROPERTY}, &i6, w "${APPLICATION_ID}", p) p.r3'
    ${IPropertyStore::SetValue} $1 '($2, $3)'
    ${IPropertyStore::Commit} $1 ""
    System::Free $3
    System::Free $2
    ${IUnknown::Release} $1 ""
FunctionEnd

; Writes the shell link $0.
Function SaveShortcut
    ${IUnknown::QueryInterface} $0 '("${IID_IPersistFile}", .r1)'
    ${If} $1 P= 0
        SetErrors
        Return
    ${EndIf}
    ${IPersistFile::Save} $1 '("${SHORTCUT}", 1).r2'
    ${IUnknown::Release} $1 ""
    ${If} $2 <> 0
        SetErrors
    ${EndIf}
FunctionEnd

; Sets the error flag if that fails.
Function WriteShortcut
    !insertmacro ComHlpr_CreateInProcInstance ${CLSID_ShellLink} ${IID_IShellLink} r0 ""
    ${If} $0 P= 0
        SetErrors
        Return
    ${EndIf}
    ${IShellLink::SetPath} $0 '("$INSTDIR\${PANEL}")'
    ${IShellLink::SetWorkingDirectory} $0 '("$INSTDIR")'
    Call SetApplicationId
    CreateDirectory "$SMPROGRAMS"
    Call SaveShortcut
    ${IUnknown::Release} $0 ""
FunctionEnd
