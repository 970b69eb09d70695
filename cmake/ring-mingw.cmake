set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
# The product's C runtime is msvcrt.dll with its own printf; the tests must see the same one.
add_compile_definitions(__USE_MINGW_ANSI_STDIO=0 WINVER=0x0600 _WIN32_WINNT=0x0600)
# -mms-bitfields and 4-byte stack alignment are what a Visual C++ caller gives.
add_compile_options(-mstackrealign -msse2)
add_link_options(-static)
include(${CMAKE_CURRENT_LIST_DIR}/gtest.cmake)
add_library(wendax_flags INTERFACE)
target_compile_options(wendax_flags INTERFACE -Wall -Wextra -Werror)
target_include_directories(wendax_flags INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/mfc)

function(wendax_gtest_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} wendax_flags)
  wendax_gtest(${name})
  wendax_wine_test(${name} ${Python3_EXECUTABLE} -m testing.unit_tests $<TARGET_FILE:${name}>)
  wendax_test_property(${name} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  wendax_test_property(${name} ENVIRONMENT "PYTHONDONTWRITEBYTECODE=1")
  wendax_test_property(${name} TIMEOUT 600)
  # A crashed program may end with code 0 under Wine.
  wendax_test_property(${name} FAIL_REGULAR_EXPRESSION "Unhandled (page fault|exception)")
endfunction()
