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
  # The multilib compiler brings the 32-bit C and C++ libraries, this folder the image libraries. What these need in
  # turn lies beside them: linker and loader find it by the run path of what is built, if it is of the older kind, which
  # holds for the libraries of libraries too. What is installed has no such path.
  set(ZELIMP_I386_SYSROOT "" CACHE PATH "Folder with 32-bit image libraries and their headers (scripts/i386-libs)")
  list(PREPEND CMAKE_PREFIX_PATH ${ZELIMP_I386_SYSROOT}/usr)
  set(CMAKE_BUILD_RPATH ${ZELIMP_I386_SYSROOT}/usr/lib/i386-linux-gnu)
  add_link_options(-Wl,--disable-new-dtags)
endif()

find_package(TIFF)
find_package(JPEG)
if(NOT TIFF_FOUND OR NOT JPEG_FOUND)
  message(FATAL_ERROR "libtiff or libjpeg is missing: run scripts/setup, for i386 scripts/i386-libs")
endif()

if(ZELIMP_SANITIZE)
  target_compile_options(zelimp_options INTERFACE -fsanitize=${ZELIMP_SANITIZE} -fno-sanitize-recover=all
                                                  -fno-omit-frame-pointer)
  target_link_options(zelimp_options INTERFACE -fsanitize=${ZELIMP_SANITIZE})
endif()
