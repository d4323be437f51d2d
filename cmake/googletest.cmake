# GoogleTest, built from the sources that the system package brings, so that it comes in the width and with the
# sanitizer of this build. Only what a test target needs of it is built.
set(ZELIMP_GOOGLETEST /usr/src/googletest CACHE PATH "GoogleTest's source folder")
set(INSTALL_GTEST OFF)
set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
add_subdirectory(${ZELIMP_GOOGLETEST} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
foreach(target gtest gmock gmock_main)
  if(ZELIMP_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${ZELIMP_SANITIZE} -fno-omit-frame-pointer)
  endif()
endforeach()
