# Installs the build into a scratch prefix, builds the consumer project against it with the
# build's toolchain, runs it under the build's Wine wrapper and checks each line it prints.
set(scratch ${BUILD}/package-test)
file(REMOVE_RECURSE ${scratch})

function(run step)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${step} failed (${status}):\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

run("cmake --install" ${CMAKE_COMMAND} --install ${BUILD} --prefix ${scratch}/prefix)
run("configuring the consumer" ${CMAKE_COMMAND} -S ${SOURCE} -B ${scratch}/build -G ${GENERATOR}
    -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_PREFIX_PATH=${scratch}/prefix -DSETUPCLS_VERSION=${VERSION})
run("building the consumer" ${CMAKE_COMMAND} --build ${scratch}/build)
file(WRITE ${scratch}/answer.icf "[INSTALL]\r\nEM=4\r\n")
string(REPLACE "/" "\\" answer "Z:${scratch}/answer.icf")
run("the consumer" ${WINE_RUN} ${scratch}/build/consumer.exe ${answer})

# The answer file's method, the verdict with nothing installed (the version left unwritten), and
# a switch of the command-line map.
foreach(line "3DES 1" "upgrade 2 ffffffff" "switch 1 Silent")
  if(NOT output MATCHES "(^|\n)${line}\r?\n")
    message(SEND_ERROR "the consumer did not print \"${line}\"; it printed:\n${output}")
  endif()
endforeach()
