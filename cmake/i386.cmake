# 32-bit x86 with the multilib compiler of an x86-64 Debian machine (g++-multilib,
# i386 libraries through multiarch). The project adds -msse2 -mfpmath=sse itself
# when pointers are 4 bytes, so doubles are computed as on x86-64.
set(CMAKE_C_FLAGS_INIT "-m32")
set(CMAKE_CXX_FLAGS_INIT "-m32")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-m32")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-m32")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-m32")
# Libraries (libffi) come from /usr/lib/i386-linux-gnu, never from the 64-bit directory.
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
set(CMAKE_IGNORE_PATH /usr/lib/x86_64-linux-gnu /lib/x86_64-linux-gnu
    /usr/lib/x86_64-linux-gnu/cmake /usr/lib/x86_64-linux-gnu/cmake/GTest)
