# zelimp_options: what all our own code is compiled with.
#
# Bytes must be the same on i386 and x86-64 at every optimisation level: IEEE arithmetic only, no contraction into fused
# multiply-add, SSE2 instead of x87. On i386 every function realigns the stack (see <ZelIMP/export.h>).
add_library(zelimp_options INTERFACE)
target_compile_options(zelimp_options INTERFACE -Wall -Wextra -Wconversion -Wshadow -Werror -ffp-contract=off)
# What -Wconversion means to g++ in C++.
target_compile_options(zelimp_options INTERFACE $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wno-sign-conversion>)
# The layout of exported classes is asserted with offsetof, which gcc has for classes with virtual functions too.
target_compile_options(zelimp_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-invalid-offsetof>)

set(ZELIMP_IS_I386 OFF)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(ZELIMP_IS_I386 ON)
  target_compile_options(zelimp_options INTERFACE -msse2 -mfpmath=sse -mstackrealign)
  # The multilib compiler brings the 32-bit C and C++ libraries, this folder the image libraries of the tool.
  set(ZELIMP_I386_SYSROOT "" CACHE PATH "Folder with 32-bit image libraries in usr/lib/i386-linux-gnu")
endif()

if(ZELIMP_SANITIZE)
  target_compile_options(zelimp_options INTERFACE -fsanitize=${ZELIMP_SANITIZE} -fno-sanitize-recover=all
                                                  -fno-omit-frame-pointer)
  target_link_options(zelimp_options INTERFACE -fsanitize=${ZELIMP_SANITIZE})
endif()
