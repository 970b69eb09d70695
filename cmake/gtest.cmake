# GoogleTest from the distribution's sources with its own main, built with the ring's own flags.
set(googletest /usr/src/googletest/googletest)
add_library(gtest STATIC ${googletest}/src/gtest-all.cc ${googletest}/src/gtest_main.cc)
target_include_directories(gtest SYSTEM PUBLIC ${googletest}/include)
target_include_directories(gtest PRIVATE ${googletest})
find_package(Threads REQUIRED)
target_link_libraries(gtest PUBLIC Threads::Threads)
# Reading its header takes longer than reading most tests: they share it precompiled (wendax_gtest).
target_precompile_headers(gtest PRIVATE <gtest/gtest.h>)

# wendax_gtest(PROGRAM): the program's tests are GoogleTest's.
function(wendax_gtest program)
  target_link_libraries(${program} PRIVATE gtest)
  target_precompile_headers(${program} REUSE_FROM gtest)
endfunction()
