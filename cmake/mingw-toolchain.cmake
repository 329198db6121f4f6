# Cross compilation for Windows with the mingw-w64 posix-thread compilers of one target triplet,
# SETUPCLS_MINGW_TRIPLET, set by the toolchain file that includes this one.
set(CMAKE_SYSTEM_NAME Windows)

set(CMAKE_C_COMPILER   ${SETUPCLS_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${SETUPCLS_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER  ${SETUPCLS_MINGW_TRIPLET}-windres)
set(CMAKE_DLLTOOL      ${SETUPCLS_MINGW_TRIPLET}-dlltool)
set(CMAKE_OBJDUMP      ${SETUPCLS_MINGW_TRIPLET}-objdump)

set(CMAKE_FIND_ROOT_PATH /usr/${SETUPCLS_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
