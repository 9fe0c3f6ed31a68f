# Cross-building for 64-bit Windows with Debian's mingw-w64, and running what was built under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(mingw x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${mingw}-gcc-posix)
set(CMAKE_CXX_COMPILER ${mingw}-g++-posix)
set(CMAKE_RC_COMPILER ${mingw}-windres)

# Nothing of the host but its programs.
set(CMAKE_FIND_ROOT_PATH /usr/${mingw})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Windows 8 and later. A program or DLL brings the compiler's libraries along, so that it needs those
# of the system alone.
set(CMAKE_C_FLAGS_INIT "-D_WIN32_WINNT=0x0602")
set(CMAKE_CXX_FLAGS_INIT "-D_WIN32_WINNT=0x0602")
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static")
endforeach()

# Headers that need no library, of the host's packages: each by a link of its own, since the folder
# that they lie in holds the host's C library too.
set(ORVEX_HEADER_ONLY_DIR ${CMAKE_BINARY_DIR}/header-only)
file(MAKE_DIRECTORY ${ORVEX_HEADER_ONLY_DIR})
foreach(package CLI nlohmann)
    file(CREATE_LINK /usr/include/${package} ${ORVEX_HEADER_ONLY_DIR}/${package} SYMBOLIC)
endforeach()
set(ORVEX_GTEST_SOURCE_DIR /usr/src/googletest)

set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)
