# 32-bit Windows: SetupCLS.dll as the product ships it.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(SETUPCLS_MINGW_TRIPLET i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-toolchain.cmake)
