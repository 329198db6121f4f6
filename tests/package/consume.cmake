# Installs the build into a scratch prefix, builds the consumer against it with the build's
# toolchain, runs it under the build's Wine wrapper and checks each line it prints.
set(scratch ${BUILD}/package-test)
file(REMOVE_RECURSE ${scratch})
file(WRITE ${scratch}/answer.icf "[INSTALL]\r\nEM=4\r\n")
string(REPLACE "/" "\\" answer "Z:${scratch}/answer.icf")
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${scratch}/prefix COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${scratch}/build -G ${GENERATOR} -DSETUPCLS_VERSION=${VERSION}
                        -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_PREFIX_PATH=${scratch}/prefix COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${scratch}/build COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${WINE_RUN} ${scratch}/build/consumer.exe ${answer} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
# The answer file's method, the verdict with nothing installed (the version left unwritten), and
# a switch of the command-line map.
foreach(line "3DES 1" "upgrade 2 ffffffff" "switch 1 Silent")
  if(NOT output MATCHES "(^|\n)${line}\r?\n")
    message(SEND_ERROR "the consumer did not print \"${line}\"; it printed:\n${output}")
  endif()
endforeach()
