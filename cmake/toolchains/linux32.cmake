# The 32-bit Linux build on a 64-bit machine. SSE2 arithmetic keeps results equal to the 64-bit ones.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

# libpng and zlib as scripts/fetch_i386_png.sh left them; the 64-bit ones must not be found.
set(root ${CMAKE_CURRENT_LIST_DIR}/../../build/i386-root/usr)
if(EXISTS ${root}/lib/i386-linux-gnu/libpng16.a)
    set(PNG_PNG_INCLUDE_DIR ${root}/include)
    set(PNG_LIBRARY ${root}/lib/i386-linux-gnu/libpng16.a)
    set(ZLIB_INCLUDE_DIR ${root}/include)
    set(ZLIB_LIBRARY ${root}/lib/i386-linux-gnu/libz.a)
else()
    set(CMAKE_DISABLE_FIND_PACKAGE_PNG ON)
endif()
