; What users read, besides NSIS's own texts.

!macro Text NAME ENGLISH JAPANESE
    LangString ${NAME} ${LANG_ENGLISH} "${ENGLISH}"
    LangString ${NAME} ${LANG_JAPANESE} "${JAPANESE}"
!macroend

!insertmacro Text welcome \
    "This installs version ${VERSION} of the settings panel for you alone. It needs no administrator rights.$\r$\n$\r$\nThe audio driver is not part of it, and keeps its settings.$\r$\n$\r$\n$_CLICK" \
    "設定パネルのバージョン ${VERSION} を、現在のユーザー用にインストールします。管理者権限は必要ありません。$\r$\n$\r$\nオーディオドライバーは含まれません。ドライバーの設定は変更されません。$\r$\n$\r$\n$_CLICK"

!insertmacro Text alreadyRunning \
    "The setup or removal of ${PRODUCT} is already running." \
    "${PRODUCT} のセットアップまたはアンインストールは、すでに実行中です。"

!insertmacro Text windowsTooOld \
    "${PRODUCT} needs Windows 10, version 1809, or later." \
    "${PRODUCT} には Windows 10 バージョン 1809 以降が必要です。"

!insertmacro Text replaceNewer \
    "Version $R1 is installed, which is newer than ${DISPLAY_VERSION}.$\r$\n$\r$\nReplace it by the older version?" \
    "より新しいバージョン $R1 がインストールされています（このセットアップは ${DISPLAY_VERSION}）。$\r$\n$\r$\n古いバージョンに置き換えますか？"

!insertmacro Text closePanel \
    "The ${PRODUCT} panel is running.$\r$\n$\r$\nOK closes it and goes on. Cancel leaves everything as it is." \
    "${PRODUCT} が起動しています。$\r$\n$\r$\n［OK］をクリックすると終了して続行します。［キャンセル］をクリックすると何も変更しません。"

!insertmacro Text closeFile \
    "This file is in use:$\r$\n$inUse$\r$\n$\r$\nPlease close the program that uses it, then choose Retry. Cancel leaves everything as it is." \
    "次のファイルは使用中です。$\r$\n$inUse$\r$\n$\r$\n使用しているプログラムを終了してから［再試行］をクリックしてください。［キャンセル］をクリックすると何も変更しません。"

!insertmacro Text notWritten \
    "The files could not be written to$\r$\n$INSTDIR$\r$\n$\r$\nNothing has been changed. Is the disk full, or is the folder write-protected?" \
    "次のフォルダーにファイルを書き込めませんでした。$\r$\n$INSTDIR$\r$\n$\r$\n何も変更されていません。ディスクの空き容量とフォルダーのアクセス権を確認してください。"

!insertmacro Text notRegistered \
    "${PRODUCT} is installed and works, but its entry in the Start menu or in the list of apps could not be written." \
    "${PRODUCT} はインストールされましたが、スタートメニューまたはアプリ一覧に登録できませんでした。"

!insertmacro Text removeTitle "Remove ${PRODUCT}" "${PRODUCT} のアンインストール"
!insertmacro Text removeSubtitle "Choose what is to be removed." "削除するものを選択してください。"
!insertmacro Text removeText \
    "${PRODUCT} will be removed from this folder:$\r$\n$\r$\n$INSTDIR" \
    "${PRODUCT} を次のフォルダーから削除します。$\r$\n$\r$\n$INSTDIR"
!insertmacro Text removeSettings \
    "&Also delete the panel's own settings" \
    "パネルの設定も削除する(&A)"
!insertmacro Text removeKept \
    "The settings of the audio driver stay in any case." \
    "オーディオドライバーの設定は削除されません。"

!insertmacro Text notRemoved \
    "Not all files could be removed from$\r$\n$INSTDIR$\r$\n$\r$\nPlease try again." \
    "次のフォルダーのファイルをすべて削除できませんでした。$\r$\n$INSTDIR$\r$\n$\r$\nもう一度お試しください。"
