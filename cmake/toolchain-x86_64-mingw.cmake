# 64-bit Windows: the x64 twin of SetupCLS.dll, for installer hosts that run 64-bit.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(SETUPCLS_MINGW_TRIPLET x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-toolchain.cmake)
