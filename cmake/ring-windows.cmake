set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_EXECUTABLE_SUFFIX .exe)

# Neither DLLs nor PDBs know where they were built: the same sources give the same bytes anywhere. The headers of the
# system are mapped as well, to a folder that debuggers look for beside the sources.
file(RELATIVE_PATH to_source ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
string(REGEX REPLACE "/$" "" to_source "${to_source}")
foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_LAUNCHER ${PROJECT_SOURCE_DIR}/cmake/relative-source ${PROJECT_SOURCE_DIR} ${to_source})
endforeach()

# -fgnuc-version and the two defines make the mingw-w64 headers take their GCC paths; -fasync-exceptions is a Visual C++
# host's /EHa; -fcheck-new because the global allocator answers null when memory is gone.
set(flags
  -nostdlibinc -isystem${PROJECT_SOURCE_DIR}/crt/include -isystem${WENDAX_MINGW}/include
  -fgnuc-version=12.2 ${WENDAX_ARCH_DEFINITION} -D__declspec=__declspec -D__USE_MINGW_ANSI_STDIO=0 -DWINVER=0x0600 -D_WIN32_WINNT=0x0600
  -ffunction-sections -fdata-sections -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${to_source}=.
  -ffile-prefix-map=/usr=system -ffile-compilation-dir=. -fno-ident
  -g -gcodeview -gno-codeview-command-line -Wno-unknown-pragmas)
add_compile_options(${flags}
  "$<$<COMPILE_LANGUAGE:CXX>:-fexceptions;-fcxx-exceptions;-fasync-exceptions;-fno-threadsafe-statics;-fcheck-new>")
set(CMAKE_C_FLAGS "")
set(CMAKE_CXX_FLAGS "")
# Small by default: a library that waits for a fault should not weigh on its host. wendax_fast() names the exceptions.
set(CMAKE_C_FLAGS_RELEASE "-Os -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELEASE "-Os -DNDEBUG")
set(CMAKE_C_FLAGS_DEBUG "-O0")
set(CMAKE_CXX_FLAGS_DEBUG "-O0")

# The compiler driver would bring a C runtime of its own, so the linker is called directly. Debuggers are told to look for
# the sources below C:\wendax.
set(link_flags
  "/nologo ${WENDAX_LINK_ARCH} /nodefaultlib /debug /pdbaltpath:%_PDB% /pdbsourcepath:C:/wendax /Brepro /opt:ref /opt:icf /incremental:no /merge:.CRT=.rdata")
foreach(language C CXX)
  set(CMAKE_${language}_CREATE_SHARED_LIBRARY
    "lld-link-19 ${link_flags} /dll /entry:${WENDAX_DLL_ENTRY} <LINK_FLAGS> <OBJECTS> /out:<TARGET> /implib:<TARGET_IMPLIB> <LINK_LIBRARIES>")
  set(CMAKE_${language}_LINK_EXECUTABLE
    "lld-link-19 ${link_flags} <LINK_FLAGS> <OBJECTS> /out:<TARGET> <LINK_LIBRARIES>")
endforeach()
foreach(kind WIN32 CONSOLE)
  set(CMAKE_C_CREATE_${kind}_EXE "")
  set(CMAKE_CXX_CREATE_${kind}_EXE "")
endforeach()
set(CMAKE_C_STANDARD_LIBRARIES "")
set(CMAKE_CXX_STANDARD_LIBRARIES "")
set(CMAKE_SHARED_LINKER_FLAGS "")
set(CMAKE_EXE_LINKER_FLAGS "")
foreach(kind EXE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_RELEASE "")
  set(CMAKE_${kind}_LINKER_FLAGS_DEBUG "")
endforeach()

add_library(wendax_flags INTERFACE)
target_compile_options(wendax_flags INTERFACE -Wall -Wextra -Werror ${WENDAX_ARCH_WARNINGS})
target_include_directories(wendax_flags INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/mfc)

# The archives of mingw-w64 hold long-form import objects that carry no safe-exception mark, so each system library
# gets a short-form import library of the same names: name of the archive, then name of the DLL.
set(WENDAX_IMPORTS ${CMAKE_BINARY_DIR}/imports)
file(MAKE_DIRECTORY ${WENDAX_IMPORTS})
function(wendax_system_library name dll)
  if(${PROJECT_SOURCE_DIR}/crt/make_import_library.py IS_NEWER_THAN ${WENDAX_IMPORTS}/${name}.lib) # or that is missing
    execute_process(
      COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/crt/make_import_library.py ${WENDAX_DLLTOOL_MACHINE}
        ${WENDAX_MINGW}/lib/lib${name}.a ${dll} ${WENDAX_IMPORTS}/${name}.lib
      COMMAND_ERROR_IS_FATAL ANY)
  endif()
endfunction()

# Code that ships is made small: with -Oz, and optimised as a whole when it is linked, which is when the compiler sees
# which calls can't throw. crt/ is not, because only then the compiler's own calls into it are found. A threshold below 0
# takes functions into their callers only where that surely makes the whole smaller. Buffers are watched by a stack cookie,
# calls through pointers by control-flow guard.
function(wendax_ships target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong "SHELL:-Xclang -cfguard" $<$<CONFIG:Release>:-Oz;-flto>)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "SHARED_LIBRARY")
    target_link_options(${target} PRIVATE $<$<CONFIG:Release>:/mllvm:-inline-threshold=-20>
      $<$<CONFIG:Release>:${WENDAX_SMALL_LOOPS}>)
  endif()
endfunction()

# wendax_link(TARGET [DEPENDS layers...] [LIBS system libraries...])
function(wendax_link target)
  cmake_parse_arguments(ARG "" "" "DEPENDS;LIBS" ${ARGN})
  target_link_libraries(${target} PRIVATE ${ARG_DEPENDS} crt wendax_flags)
  list(APPEND ARG_LIBS kernel32)
  foreach(lib IN LISTS ARG_LIBS)
    target_link_libraries(${target} PRIVATE ${WENDAX_IMPORTS}/${lib}.lib)
  endforeach()
  target_link_libraries(${target} PRIVATE ${WENDAX_IMPORTS}/msvcrt.lib)
endfunction()

# Compiles NAME.rc of the current folder into a .res file and links it into TARGET. FILES are what the script includes.
function(wendax_resources target script)
  cmake_parse_arguments(ARG "" "" "FILES" ${ARGN})
  cmake_path(ABSOLUTE_PATH script)
  get_filename_component(stem ${script} NAME_WE)
  get_filename_component(folder ${script} DIRECTORY)
  set(compiled ${CMAKE_CURRENT_BINARY_DIR}/${stem}.res)
  set(preprocessed ${CMAKE_CURRENT_BINARY_DIR}/${stem}.i)
  add_custom_command(
    OUTPUT ${compiled}
    COMMAND clang-19 --target=${WENDAX_TARGET} -E -xc -DRC_INVOKED -nostdlibinc
      -isystem ${WENDAX_MINGW}/include -fgnuc-version=12.2 ${WENDAX_ARCH_DEFINITION}
      -DWENDAX_VERSION_MAJOR=${PROJECT_VERSION_MAJOR} -DWENDAX_VERSION_MINOR=${PROJECT_VERSION_MINOR}
      -DWENDAX_VERSION_PATCH=${PROJECT_VERSION_PATCH}
      "-DWENDAX_VERSION_TEXT=\"${PROJECT_VERSION_MAJOR}, ${PROJECT_VERSION_MINOR}, ${PROJECT_VERSION_PATCH}, 0\""
      -I${PROJECT_SOURCE_DIR}
      ${script} -o ${preprocessed}
    # By their bare names: it would take a path such as /checkout/... for an option /C.
    COMMAND llvm-rc-19 /no-preprocess /C 65001 /I ${folder} /FO ${stem}.res ${stem}.i
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
    DEPENDS ${script} ${ARG_FILES}
    VERBATIM)
  target_sources(${target} PRIVATE ${compiled})
  set_source_files_properties(${compiled} PROPERTIES EXTERNAL_OBJECT TRUE GENERATED TRUE)
endfunction()

# wendax_dll(NAME DEF exports.def [SOURCES ...] [RESOURCES script.rc] [RESOURCE_FILES ...] [DEPENDS layers...]
#            [LIBS system libraries...])
function(wendax_dll name)
  cmake_parse_arguments(ARG "" "DEF;RESOURCES" "SOURCES;RESOURCE_FILES;DEPENDS;LIBS" ${ARGN})
  cmake_path(ABSOLUTE_PATH ARG_DEF)
  add_library(${name} SHARED ${ARG_SOURCES})
  wendax_ships(${name})
  wendax_unwinding(${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".dll" IMPORT_PREFIX "" IMPORT_SUFFIX ".lib"
    ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib LINKER_LANGUAGE CXX
    LINK_DEPENDS ${ARG_DEF})
  file(RELATIVE_PATH def ${CMAKE_BINARY_DIR} ${ARG_DEF})
  target_link_options(${name} PRIVATE /def:${def} /guard:cf)
  wendax_link(${name} DEPENDS ${ARG_DEPENDS} LIBS ${ARG_LIBS})
  if(ARG_RESOURCES)
    wendax_resources(${name} ${ARG_RESOURCES} FILES ${ARG_RESOURCE_FILES})
  endif()
  if(WENDAX_AFTER_LINK)
    add_custom_command(TARGET ${name} POST_BUILD COMMAND ${WENDAX_AFTER_LINK} $<TARGET_FILE:${name}> VERBATIM)
  endif()
endfunction()

# wendax_stand_in(DLL NAME FOLDER): it is built as test-helpers/FOLDER/NAME.dll, for tests to put in another's place.
function(wendax_stand_in dll name folder)
  set_target_properties(${dll} PROPERTIES OUTPUT_NAME ${name}
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/test-helpers/${folder}
    ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/test-helpers/${folder})
endfunction()

# wendax_host(NAME [GUI] SOURCES ... [RESOURCES script.rc] [RESOURCE_FILES ...] [DEPENDS layers or DLLs...] [LIBS ...])
# A Windows program: a console program with main(), or with GUI a program with WinMain().
function(wendax_host name)
  cmake_parse_arguments(ARG "GUI" "RESOURCES" "SOURCES;RESOURCE_FILES;DEPENDS;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  if(ARG_GUI)
    target_link_options(${name} PRIVATE /subsystem:windows /entry:WinMainCRTStartup)
  else()
    target_link_options(${name} PRIVATE /subsystem:console /entry:mainCRTStartup)
  endif()
  wendax_link(${name} DEPENDS ${ARG_DEPENDS} LIBS ${ARG_LIBS})
  if(ARG_RESOURCES)
    wendax_resources(${name} ${ARG_RESOURCES} FILES ${ARG_RESOURCE_FILES})
  endif()
endfunction()

# wendax_product_test(NAME script.py [PORT_80] [OWN_MOUNTS]): Python tests that drive what the product build made, under Wine.
# PORT_80: they listen there. OWN_MOUNTS: they mount what nobody else is to see.
function(wendax_product_test name script)
  cmake_parse_arguments(ARG "PORT_80;OWN_MOUNTS" "" "" ${ARGN})
  set(command ${Python3_EXECUTABLE} -m pytest ${CMAKE_CURRENT_SOURCE_DIR}/${script})
  if(ARG_OWN_MOUNTS)
    list(PREPEND command ${Python3_EXECUTABLE} -m testing.loopback --own-mounts)
  elseif(ARG_PORT_80)
    list(PREPEND command ${Python3_EXECUTABLE} -m testing.loopback)
  endif()
  wendax_wine_test(${name} ${command})
  wendax_python_test(${name})
endfunction()

# wendax_product_check(NAME script.py): Python tests that are not about Wine, so that once is enough.
function(wendax_product_check name script)
  add_test(NAME ${WENDAX_LABEL}.${name} COMMAND ${Python3_EXECUTABLE} -m pytest ${CMAKE_CURRENT_SOURCE_DIR}/${script})
  set_tests_properties(${WENDAX_LABEL}.${name} PROPERTIES LABELS ${WENDAX_LABEL})
  wendax_python_test(${name})
endfunction()

function(wendax_python_test name)
  wendax_test_property(${name} TIMEOUT 900)
  wendax_test_property(${name} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  wendax_test_property(${name} ENVIRONMENT "WENDAX_BIN=${CMAKE_BINARY_DIR}/bin" "PYTHONDONTWRITEBYTECODE=1")
endfunction()

function(wendax_gtest_program)
  message(FATAL_ERROR "unit tests belong to the native and mingw rings")
endfunction()
