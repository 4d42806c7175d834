# Toolchain file: 64-bit Windows by MinGW-w64's g++, as Debian packages it (g++-mingw-w64-x86-64-posix).

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(triplet x86_64-w64-mingw32)

set(CMAKE_C_COMPILER ${triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${triplet}-windres)

# A folder with include/, lib/ and bin/ of what the library builds on, made for Windows; tools/test_windows.sh fills
# this one.
set(DBMSAPI_WINDOWS_ROOT ${CMAKE_CURRENT_LIST_DIR}/../build/windows-root
    CACHE PATH "Folder with libpq, SQLite and {fmt} for Windows")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES DBMSAPI_WINDOWS_ROOT)
set(CMAKE_FIND_ROOT_PATH /usr/${triplet} ${DBMSAPI_WINDOWS_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../tools/windows/wine.sh)
