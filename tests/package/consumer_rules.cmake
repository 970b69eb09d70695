# Stands for a host developer's own compiler and C runtime, which aren't on this machine: included after the consumer's
# project(), it compiles and links as the library's test hosts are. WENDAX_BUILD is the library's build folder.
get_filename_component(source "${CMAKE_CURRENT_LIST_DIR}/../.." ABSOLUTE)
include(${source}/cmake/arch-${WENDAX_ARCH}.cmake)
set(headers ${WENDAX_MINGW}/include)
add_compile_options(-nostdlibinc "SHELL:-isystem ${source}/crt/include" "SHELL:-isystem ${headers}"
  -fgnuc-version=12.2 ${WENDAX_ARCH_DEFINITION} -D__declspec=__declspec -D__USE_MINGW_ANSI_STDIO=0 -O2 -Wall -Wextra -Werror
  "$<$<COMPILE_LANGUAGE:CXX>:-fno-threadsafe-statics>")
set(CMAKE_EXECUTABLE_SUFFIX .exe)
set(CMAKE_LINK_LIBRARY_FLAG "")
set(CMAKE_LINK_LIBRARY_SUFFIX .lib)
set(CMAKE_LIBRARY_PATH_FLAG /libpath:)
set(CMAKE_SHARED_LIBRARY_SUFFIX .dll)
set(CMAKE_IMPORT_LIBRARY_SUFFIX .lib)
set(CMAKE_LINK_DEF_FILE_FLAG /def:)
set(link "lld-link-19 /nologo ${WENDAX_LINK_ARCH} /nodefaultlib /libpath:${WENDAX_BUILD}/imports <LINK_FLAGS> <OBJECTS> /out:<TARGET>")
set(runtime "${WENDAX_BUILD}/crt/crt.lib kernel32.lib msvcrt.lib")
foreach(language C CXX)
  set(CMAKE_${language}_FLAGS "")
  set(CMAKE_${language}_STANDARD_LIBRARIES "")
  set(CMAKE_${language}_CREATE_WIN32_EXE "/subsystem:windows /entry:WinMainCRTStartup")
  set(CMAKE_${language}_CREATE_CONSOLE_EXE "/subsystem:console /entry:mainCRTStartup")
  set(CMAKE_${language}_LINK_EXECUTABLE "${link} <LINK_LIBRARIES> ${runtime}")
  set(CMAKE_${language}_CREATE_SHARED_LIBRARY
    "${link} /dll /entry:${WENDAX_DLL_ENTRY} /implib:<TARGET_IMPLIB> <LINK_LIBRARIES> ${runtime}")
endforeach()
