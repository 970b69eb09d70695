# find_package(Wendax): for programs on Windows, of 32 or 64 bits as the host is.
#
#   Wendax::Wendax        the library; a C++ host is compiled with /EHa
#   Wendax::faultkit      for hosts that call faultkit.dll themselves, to tell it what they do, to write a text or a minidump
#   Wendax::glib_headers  for format modules, which link with nothing
#   wendax_copy_runtime(HOST [PDBS] [SUPPORT_ADDRESS address] [UPLOAD_SERVER host | UPLOAD_URL url] [PRODUCT name]
#                       [COMPANY name] [PROGRAM file] [OWN_PICTURES] [PROXY])
#                         puts the DLLs beside the host whenever it is built, on request their PDBs too. An address such as
#                         "Crash Desk <crashes@example.com>", a host name or a URL is written into the copy of Wendax.dll
#                         as the place where reports go, and the others as tools/redirect.py has them; that takes Python.
#   Wendax_RUNTIME_FILES  the DLLs as they come, for install(FILES)
set(Wendax_NOT_FOUND_MESSAGE)
if(NOT WIN32)
  set(Wendax_NOT_FOUND_MESSAGE "Wendax is for programs that run on Windows; elsewhere configure with a toolchain file for it.")
endif()
get_filename_component(_wendax_root "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
set(_wendax_arch x86)
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(_wendax_arch x64)
endif()
set(_wendax_bin "${_wendax_root}/bin/${_wendax_arch}")
set(_wendax_lib "${_wendax_root}/lib/${_wendax_arch}")
if(NOT Wendax_NOT_FOUND_MESSAGE AND NOT EXISTS "${_wendax_lib}/Wendax.lib")
  set(Wendax_NOT_FOUND_MESSAGE "Wendax is not installed here for ${_wendax_arch}: there is no ${_wendax_lib}/Wendax.lib.")
endif()
if(Wendax_NOT_FOUND_MESSAGE)
  set(Wendax_FOUND FALSE)
  return()
endif()

set(Wendax_RUNTIME_FILES)
set(_wendax_pdbs)
foreach(_wendax_dll Wendax KOBRTL fall faultkit)
  if(EXISTS "${_wendax_bin}/${_wendax_dll}.dll")
    list(APPEND Wendax_RUNTIME_FILES "${_wendax_bin}/${_wendax_dll}.dll")
    list(APPEND _wendax_pdbs "${_wendax_bin}/${_wendax_dll}.pdb")
  endif()
endforeach()
set_property(GLOBAL PROPERTY WENDAX_RUNTIME_FILES "${Wendax_RUNTIME_FILES}")
set_property(GLOBAL PROPERTY WENDAX_PDBS "${_wendax_pdbs}")
set_property(GLOBAL PROPERTY WENDAX_REDIRECT "${_wendax_root}/tools/redirect.py")

foreach(_wendax_name Wendax faultkit)
  if(NOT TARGET Wendax::${_wendax_name} AND EXISTS "${_wendax_lib}/${_wendax_name}.lib")
    add_library(Wendax::${_wendax_name} SHARED IMPORTED)
    set_target_properties(Wendax::${_wendax_name} PROPERTIES
      IMPORTED_IMPLIB "${_wendax_lib}/${_wendax_name}.lib"
      IMPORTED_LOCATION "${_wendax_bin}/${_wendax_name}.dll"
      INTERFACE_INCLUDE_DIRECTORIES "${_wendax_root}/include")
  endif()
endforeach()
if(NOT TARGET Wendax::glib_headers)
  add_library(Wendax::glib_headers INTERFACE IMPORTED)
  set_target_properties(Wendax::glib_headers PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${_wendax_root}/include")
endif()
# Without it, a fault passes by the handlers around code that doesn't throw.
if(MSVC)
  set_property(TARGET Wendax::Wendax PROPERTY INTERFACE_COMPILE_OPTIONS "$<$<COMPILE_LANGUAGE:CXX>:/EHa>")
elseif(CMAKE_CXX_SIMULATE_ID STREQUAL "MSVC")
  set_property(TARGET Wendax::Wendax PROPERTY INTERFACE_COMPILE_OPTIONS
    "$<$<COMPILE_LANGUAGE:CXX>:-fexceptions;-fasync-exceptions>")
endif()

function(wendax_copy_runtime host)
  set(texts SUPPORT_ADDRESS UPLOAD_SERVER UPLOAD_URL PRODUCT COMPANY PROGRAM)
  set(switches OWN_PICTURES PROXY)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "PDBS;${switches}" "${texts}" "")
  if(ARG_UNPARSED_ARGUMENTS OR ARG_KEYWORDS_MISSING_VALUES)
    message(FATAL_ERROR
      "wendax_copy_runtime: not understood: ${ARG_UNPARSED_ARGUMENTS} ${ARG_KEYWORDS_MISSING_VALUES}")
  endif()
  get_property(files GLOBAL PROPERTY WENDAX_RUNTIME_FILES)
  if(ARG_PDBS)
    get_property(pdbs GLOBAL PROPERTY WENDAX_PDBS)
    list(APPEND files ${pdbs})
  endif()
  set(options)
  foreach(name IN LISTS texts switches)
    if(ARG_${name})
      string(TOLOWER "--${name}" option)
      string(REPLACE "_" "-" option "${option}")
      if(name IN_LIST switches)
        set(ARG_${name} yes)
      endif()
      list(APPEND options "${option}" "${ARG_${name}}")
    endif()
  endforeach()
  set(redirect)
  if(options)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    get_property(tool GLOBAL PROPERTY WENDAX_REDIRECT)
    set(redirect COMMAND "${Python3_EXECUTABLE}" "${tool}" "$<TARGET_FILE_DIR:${host}>/Wendax.dll" ${options})
  endif()
  add_custom_command(TARGET ${host} POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E copy_if_different ${files} "$<TARGET_FILE_DIR:${host}>"
    ${redirect}
    VERBATIM)
endfunction()

unset(_wendax_root)
unset(_wendax_arch)
unset(_wendax_bin)
unset(_wendax_lib)
unset(_wendax_pdbs)
