# Each plain function has an import record for SetupCLS.dll carrying the symbol that a caller's
# declaration refers to (32-bit: _Name@ArgumentBytes) and the name type that turns it into the
# DLL's undecorated export (32-bit: undecorate; 64-bit: the name itself).
execute_process(COMMAND ${READOBJ} ${LIB} RESULT_VARIABLE status OUTPUT_VARIABLE records ERROR_VARIABLE errors)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${READOBJ} cannot read ${LIB} (${status}): ${errors}")
endif()
foreach(function DvSetIsAllowUpgrade@16 DVSET_Is3DESEncrypt@4 DvSetRSOldProdRegKey@0)
  if(DECORATED)
    set(symbol _${function})
    set(type undecorate)
  else()
    string(REGEX REPLACE "@[0-9]+$" "" symbol ${function})
    set(type name)
  endif()
  string(CONCAT record "File: SetupCLS.dll\nFormat: COFF-import-file\nType: code\nName type: ${type}\n"
                       "Symbol: __imp_${symbol}\nSymbol: ${symbol}\n")
  string(FIND "${records}" "${record}" at)
  if(at EQUAL -1)
    message(SEND_ERROR "${LIB} has no import record\n${record}for ${function}")
  endif()
endforeach()
