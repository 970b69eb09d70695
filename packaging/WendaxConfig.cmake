# find_package(Wendax): for 32-bit programs on Windows.
#
#   Wendax::Wendax      the library; a C++ host is compiled with /EHa
#   Wendax::faultkit    for hosts that call faultkit.dll themselves, to write a minidump
#   wendax_copy_runtime(HOST [PDBS])
#                       puts the DLLs beside the host whenever it is built, on request their PDBs too
#   Wendax_RUNTIME_FILES  the DLLs, for install(FILES)
if(DEFINED CMAKE_SIZEOF_VOID_P AND NOT CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(Wendax_FOUND FALSE)
  set(Wendax_NOT_FOUND_MESSAGE "Wendax is for 32-bit programs; with Visual Studio configure with -A Win32.")
  return()
endif()

get_filename_component(_wendax_root "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
set(Wendax_RUNTIME_FILES)
set(_wendax_pdbs)
foreach(_wendax_dll Wendax KOBRTL fall faultkit)
  list(APPEND Wendax_RUNTIME_FILES "${_wendax_root}/bin/${_wendax_dll}.dll")
  list(APPEND _wendax_pdbs "${_wendax_root}/bin/${_wendax_dll}.pdb")
endforeach()
set_property(GLOBAL PROPERTY WENDAX_RUNTIME_FILES "${Wendax_RUNTIME_FILES}")
set_property(GLOBAL PROPERTY WENDAX_PDBS "${_wendax_pdbs}")

foreach(_wendax_name Wendax faultkit)
  if(NOT TARGET Wendax::${_wendax_name})
    add_library(Wendax::${_wendax_name} SHARED IMPORTED)
    set_target_properties(Wendax::${_wendax_name} PROPERTIES
      IMPORTED_IMPLIB "${_wendax_root}/lib/${_wendax_name}.lib"
      IMPORTED_LOCATION "${_wendax_root}/bin/${_wendax_name}.dll"
      INTERFACE_INCLUDE_DIRECTORIES "${_wendax_root}/include")
  endif()
endforeach()
# Without it, a fault passes by the handlers around code that doesn't throw.
if(MSVC)
  set_property(TARGET Wendax::Wendax PROPERTY INTERFACE_COMPILE_OPTIONS "$<$<COMPILE_LANGUAGE:CXX>:/EHa>")
endif()

function(wendax_copy_runtime host)
  get_property(files GLOBAL PROPERTY WENDAX_RUNTIME_FILES)
  if("PDBS" IN_LIST ARGN)
    get_property(pdbs GLOBAL PROPERTY WENDAX_PDBS)
    list(APPEND files ${pdbs})
  endif()
  add_custom_command(TARGET ${host} POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E copy_if_different ${files} "$<TARGET_FILE_DIR:${host}>"
    VERBATIM)
endfunction()

unset(_wendax_root)
unset(_wendax_pdbs)
