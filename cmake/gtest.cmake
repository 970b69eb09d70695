# GoogleTest from the distribution's sources, built with the ring's own flags.
add_library(gtest STATIC /usr/src/googletest/googletest/src/gtest-all.cc ${CMAKE_CURRENT_LIST_DIR}/../tests/unit_main.cpp)
target_include_directories(gtest SYSTEM PUBLIC /usr/src/googletest/googletest/include)
target_include_directories(gtest PRIVATE /usr/src/googletest/googletest)
find_package(Threads REQUIRED)
target_link_libraries(gtest PUBLIC Threads::Threads)
