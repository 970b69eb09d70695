# One function per kind of target. A ring is one way to build and test:
#   windows  the DLLs that ship and hosts that load them, clang in the Microsoft ABI
#   mingw    GoogleTest programs over the Windows shells, run under Wine
#   native   GoogleTest programs over the pure cores, under sanitizers
# What ctest and scripts/test call it: as its preset.
set(WENDAX_LABEL ${WENDAX_RING}${WENDAX_RING_SUFFIX})
include(${CMAKE_CURRENT_LIST_DIR}/ring-${WENDAX_RING}.cmake)

option(WENDAX_NEWER_WINE "Run the tests under the newer Wine as well, as newer-wine.NAME" OFF)

# The system's own, for which its packages are: pytest is one.
set(Python3_EXECUTABLE /usr/bin/python3 CACHE FILEPATH "the Python that runs tests and generators")
find_package(Python3 REQUIRED COMPONENTS Interpreter)

# wendax_sources(OUT source...): those that this ring builds. A source says by its name where it builds: foo_win.cpp, which may
# include windows.h, in windows and mingw; foo_product.cpp, which needs structured exceptions or the Microsoft ABI, in
# windows alone; all others everywhere. Of these foo_win_x86.cpp and foo_product_x86.cpp are for 32-bit Windows alone, and
# with _x64 for 64-bit Windows. Tests likewise: foo_win_test.cpp. A path of another folder is taken as it is.
function(wendax_sources out)
  set(sources ${ARGN})
  if(WENDAX_RING STREQUAL "native")
    list(FILTER sources EXCLUDE REGEX "_win(_x86|_x64)?(_test)?\\.c(pp)?$")
  endif()
  if(NOT WENDAX_RING STREQUAL "windows")
    list(FILTER sources EXCLUDE REGEX "_product(_x86|_x64)?\\.c(pp)?$")
  endif()
  foreach(arch x86 x64)
    if(NOT WENDAX_ARCH STREQUAL arch)
      list(FILTER sources EXCLUDE REGEX "_(win|product)_${arch}(_test)?\\.c(pp)?$")
    endif()
  endforeach()
  set(${out} ${sources} PARENT_SCOPE)
endfunction()

# wendax_unwinding(source...): in the product, sources named _product.cpp keep count of the objects to destroy at every
# instruction, not just at calls: faults pass through them on their way to a guard or to the host, and each destructor must
# run. In all others objects are destroyed that were there at the last call.
function(wendax_unwinding)
  foreach(source IN LISTS ARGN)
    if(source MATCHES "_product(_x86|_x64)?\\.cpp$")
      set_property(SOURCE ${source} APPEND PROPERTY COMPILE_OPTIONS "${WENDAX_FAULT_OPTIONS}")
    elseif(source MATCHES "\\.cpp$")
      set_property(SOURCE ${source} APPEND PROPERTY COMPILE_OPTIONS -fno-async-exceptions)
    endif()
  endforeach()
endfunction()

# wendax_layer(NAME [TYPE_INFO] SOURCES source... [DEPENDS layers...])
# A folder of the library as one static library. TYPE_INFO is for a layer whose classes hosts derive from and may apply
# dynamic_cast to.
function(wendax_layer name)
  cmake_parse_arguments(ARG "TYPE_INFO" "" "SOURCES;DEPENDS" ${ARGN})
  wendax_sources(sources ${ARG_SOURCES})
  if(sources)
    add_library(${name} STATIC ${sources})
    set(scope PUBLIC)
    if(WENDAX_RING STREQUAL "windows")
      wendax_ships(${name})
      target_compile_options(${name} PRIVATE
        $<$<NOT:$<BOOL:${ARG_TYPE_INFO}>>:$<$<COMPILE_LANGUAGE:CXX>:-fno-rtti>>)
      wendax_unwinding(${sources})
    endif()
  else()
    add_library(${name} INTERFACE)
    set(scope INTERFACE)
  endif()
  target_include_directories(${name} ${scope} ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} ${scope} ${ARG_DEPENDS} wendax_flags)
endfunction()

# wendax_test(LAYER SOURCES test.cpp... [DEPENDS layers...] [LIBS system libs...])
# The unit tests of a folder as one GoogleTest program, LAYER_test. LIBS are Windows libraries.
function(wendax_test layer)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;LIBS" ${ARGN})
  wendax_sources(sources ${ARG_SOURCES})
  list(FILTER sources INCLUDE REGEX "_test\\.c(pp)?$")
  if(NOT sources OR WENDAX_RING STREQUAL "windows")
    return()
  endif()
  wendax_sources(sources ${ARG_SOURCES})
  if(WENDAX_RING STREQUAL "native")
    set(ARG_LIBS)
  endif()
  wendax_gtest_program(${layer}_test SOURCES ${sources} LINK ${layer} ${ARG_DEPENDS} ${ARG_LIBS})
endfunction()

# wendax_wine_test(NAME COMMAND ARG...): a test of this ring that runs Windows programs: RING.NAME, and with
# WENDAX_NEWER_WINE newer-wine.NAME, which says the same of that Wine.
function(wendax_wine_test name)
  add_test(NAME ${WENDAX_LABEL}.${name} COMMAND ${ARGN})
  set_tests_properties(${WENDAX_LABEL}.${name} PROPERTIES LABELS ${WENDAX_LABEL} ENVIRONMENT "WENDAX_WINE=")
  if(WENDAX_NEWER_WINE)
    add_test(NAME newer-wine.${name} COMMAND ${ARGN})
    set_tests_properties(newer-wine.${name} PROPERTIES LABELS newer-wine ENVIRONMENT "WENDAX_WINE=newer")
  endif()
endfunction()

# wendax_test_property(NAME PROPERTY VALUE...): appends to a property of the test NAME, for both Wines.
function(wendax_test_property name property)
  foreach(ring ${WENDAX_LABEL} newer-wine)
    if(TEST ${ring}.${name})
      set_property(TEST ${ring}.${name} APPEND PROPERTY ${property} ${ARGN})
    endif()
  endforeach()
endfunction()

# wendax_fast(source...): files of the current folder that are built for speed in the product.
function(wendax_fast)
  if(WENDAX_RING STREQUAL "windows" AND CMAKE_BUILD_TYPE STREQUAL "Release")
    set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS -O2)
  endif()
endfunction()
