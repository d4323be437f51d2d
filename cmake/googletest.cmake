# GoogleTest, built from the sources that the system package brings, so that it comes in the width and with the
# sanitizer of this build. Only what a test target needs of it is built.
set(ZELIMP_GOOGLETEST /usr/src/googletest CACHE PATH "GoogleTest's source folder")
set(INSTALL_GTEST OFF)
set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
add_subdirectory(${ZELIMP_GOOGLETEST} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
# Not our code: neither its warnings nor its speed matter, and its undefined behaviour is not looked for. What it shares
# with the tests, as containers and locks, must be instrumented alike.
foreach(target gtest gmock gmock_main)
  target_compile_options(${target} PRIVATE -w -O1)
  if(ZELIMP_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${ZELIMP_SANITIZE} -fno-sanitize=undefined
                                             -fno-omit-frame-pointer)
  endif()
endforeach()
