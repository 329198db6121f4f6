; An NSIS installer that drives SetupCLS.dll's plain functions through the System plug-in, as an
; installer author would from his own script: the upgrade verdict on the example medium and the
; backup of the earlier product's keys, password scrambling both ways, a service installed,
; started, stopped and removed through its own program's command line, and a folder's access
; rights. Every call's result goes to "$INSTDIR\nsis-results.log", one "Name=result" line each.
;
; The plain functions are __stdcall with undecorated names and take ANSI texts, so the installer
; is an ANSI one and its System calls name them as they are exported.
;
; Built by the 32-bit build (host/nsis/CMakeLists.txt), which names the files it carries:
;   makensis -DSETUPCLS_DLL=<SetupCLS.dll> -DDVDCEN_DLL=<DVDCEN.DLL> -DSERVICE_EXE=<FIXSVC.EXE>
;            -DMEDIUM_DIR=<example medium folder> -DOUTFILE=<installer> SetupCLSDemo.nsi
; Run silently:  SetupCLSDemo.exe /S /D=C:\Some\Folder

Unicode false
SetCompressor /SOLID lzma
RequestExecutionLevel admin

!ifndef OUTFILE
  !define OUTFILE "SetupCLSDemo.exe"
!endif

Name "SetupCLS Demo"
OutFile "${OUTFILE}"
InstallDir "$PROGRAMFILES\SetupCLS Demo"

; The example medium's product, and the service the demo manages.
!define PRODUCT_DESCRIPTOR "QuellmarshAB"
!define SERVICE_NAME "SetupCLSNsisDemo"
!define DEMO_PASSWORD "Drosvane-Demo-7"
; SERVICE_STOPPED and SERVICE_RUNNING; 0 stands for "no such service".
!define STATE_GONE 0
!define STATE_STOPPED 1
!define STATE_RUNNING 4
; BUILTIN\Administrators, and the rights to read a file or list a folder.
!define RID_ADMINISTRATORS 544
!define FILE_GENERIC_READ 0x120089

; The library is called by its full path: the installer loads plug-in libraries only from the
; system folder by name, and the library must be the copy installed here.
!define LIB "$INSTDIR\SetupCLS.dll"

Page directory
Page instfiles

Var Log

; One "Name=value" line of the results log.
!macro Result NAME VALUE
  FileWrite $Log "${NAME}=${VALUE}$\r$\n"
!macroend
!define Result "!insertmacro Result"

; $R0: a service name -> $R2: its current state, ${STATE_GONE} when the service manager does
; not know it.
Function ServiceState
  Push $R4
  Push $R5
  Push $R6
  StrCpy $R2 ${STATE_GONE}
  System::Call 'advapi32::OpenSCManagerA(p 0, p 0, i 1) p .R4'   ; SC_MANAGER_CONNECT
  StrCmp $R4 0 done
  System::Call 'advapi32::OpenServiceA(p R4, t R0, i 4) p .R5'   ; SERVICE_QUERY_STATUS
  StrCmp $R5 0 close_manager
  System::Call '*(&i28) p .R6'                                   ; SERVICE_STATUS
  System::Call 'advapi32::QueryServiceStatus(p R5, p R6) i .R2'
  StrCmp $R2 0 +2
    System::Call '*$R6(i, i .R2)'                                ; dwCurrentState
  System::Free $R6
  System::Call 'advapi32::CloseServiceHandle(p R5)'
close_manager:
  System::Call 'advapi32::CloseServiceHandle(p R4)'
done:
  Pop $R6
  Pop $R5
  Pop $R4
FunctionEnd

; The command-line functions start the service program and return at once; the program does
; the work in its own time. $R0: service name, $R1: the state to wait for -> $R2: the state
; seen last, $R1 unless it did not come within 20 seconds.
Function WaitForServiceState
  Push $R3
  StrCpy $R3 0
poll:
  Call ServiceState
  StrCmp $R2 $R1 done
  IntOp $R3 $R3 + 1
  IntCmp $R3 400 done
  Sleep 50
  Goto poll
done:
  Pop $R3
FunctionEnd

; One command-line function of the service family: $R0 service name, $R1 state to wait for,
; $R5 the function's name, $R6 the service program's command line.
Function ManageService
  System::Call '${LIB}::$R5(t R6) i .r0'
  ${Result} $R5 $0
  Call WaitForServiceState
  ${Result} "$R5.state" $R2
FunctionEnd

Section "SetupCLS demo"
  SetOutPath "$INSTDIR"
  File "${SETUPCLS_DLL}"
  File "${DVDCEN_DLL}"
  File "${SERVICE_EXE}"
  SetOutPath "$INSTDIR\medium"
  File "${MEDIUM_DIR}/SETUP.INF"
  File "${MEDIUM_DIR}/DVVER.DLL"
  File "${MEDIUM_DIR}/TambProd.dll"
  ; The current folder is where the scrambling library is looked for after the setup folder's
  ; configured one.
  SetOutPath "$INSTDIR"
  FileOpen $Log "$INSTDIR\nsis-results.log" w

  ; The upgrade verdict for the example medium on this machine (an empty machine name), with
  ; the installed product's build and version; then its keys backed up.
  StrCpy $R0 "$INSTDIR\medium"
  System::Call '${LIB}::DvSetIsAllowUpgrade(t R0, t "${PRODUCT_DESCRIPTOR}", *i 0 r1, t "") i .r0'
  ${Result} DvSetIsAllowUpgrade $0
  ${Result} DvSetIsAllowUpgrade.versionBuild $1
  System::Call '${LIB}::DvSetBKOldProduct(t R0, t "${PRODUCT_DESCRIPTOR}", t .r1, t "") i .r0'
  ${Result} DvSetBKOldProduct $0
  ${Result} DvSetBKOldProduct.productCode $1

  ; A password scrambled to its printable form and back.
  StrCpy $R0 "${DEMO_PASSWORD}"
  StrLen $R1 $R0
  System::Call '${LIB}::DVSET_ZOREncrypt_NUMSTR(t R0, i R1, t .r1, *i 0 r2) i .r0'
  ${Result} DVSET_ZOREncrypt_NUMSTR $0
  ${Result} DVSET_ZOREncrypt_NUMSTR.text $1
  ; The text buffer has ${NSIS_MAX_STRLEN} bytes; one is kept for the terminating zero, which
  ; the unscrambled bytes do not carry.
  IntOp $R1 ${NSIS_MAX_STRLEN} - 1
  System::Call '${LIB}::DVSET_ZORDecrypt_NUMSTR(t r1, i r2, t .r3, *i R1 r4) i .r0'
  StrCpy $3 $3 $4
  ${Result} DVSET_ZORDecrypt_NUMSTR $0
  ${Result} DVSET_ZORDecrypt_NUMSTR.text $3
  WriteINIStr "$INSTDIR\SETUP.ICF" "INSTALL" "EM" "4"
  StrCpy $R0 "$INSTDIR\SETUP.ICF"
  System::Call '${LIB}::DVSET_Is3DESEncrypt(t R0) i .r0'
  ${Result} DVSET_Is3DESEncrypt $0

  ; The service program installs, starts, stops and removes itself when its command line ends
  ; in the switch the function appends.
  StrCpy $R0 "${SERVICE_NAME}"
  StrCpy $R6 '"$INSTDIR\FIXSVC.EXE" /manage:${SERVICE_NAME}'
  StrCpy $R1 ${STATE_STOPPED}
  StrCpy $R5 InstallServiceByCmdLine
  Call ManageService
  StrCpy $R1 ${STATE_RUNNING}
  StrCpy $R5 StartServiceByCmdLine
  Call ManageService
  StrCpy $R1 ${STATE_STOPPED}
  StrCpy $R5 StopServiceByCmdLine
  Call ManageService
  StrCpy $R1 ${STATE_GONE}
  StrCpy $R5 RemoveServiceByCmdLine
  Call ManageService

  ; The product's access rule on a data folder (with the reason when it could not be put:
  ; the accounts it names must all be known to the machine), read access for Users, and what
  ; Administrators may do there then.
  CreateDirectory "$INSTDIR\data"
  StrCpy $R0 "$INSTDIR\data"
  System::Call '${LIB}::AddAccessPermissionOnFolder(t R0) i .r0 ?e'
  Pop $1
  ${Result} AddAccessPermissionOnFolder $0
  ${Result} AddAccessPermissionOnFolder.lastError $1
  System::Call '${LIB}::AdjustAccessRights(p 0, i 0, i 0, t R0, t "Users", i ${FILE_GENERIC_READ}) i .r0'
  ${Result} AdjustAccessRights $0
  System::Call '${LIB}::GetBuiltinDomainAccessMaskOnFolder(t R0, i ${RID_ADMINISTRATORS}, *i 0 r1) i .r0'
  IntFmt $1 "0x%08X" $1
  ${Result} GetBuiltinDomainAccessMaskOnFolder $0
  ${Result} GetBuiltinDomainAccessMaskOnFolder.mask $1

  FileClose $Log
SectionEnd
