# 32-bit x86 with the multilib compiler of an x86-64 machine.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_FLAGS_INIT -m32)
set(CMAKE_CXX_FLAGS_INIT -m32)
# Nothing of the 64-bit system may be found in place of a 32-bit library.
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR "")
