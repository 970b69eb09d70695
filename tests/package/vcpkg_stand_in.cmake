# Runs the port's script as vcpkg would, with the two functions that it calls.
# cmake -DPORT=folder -DCURRENT_PACKAGES_DIR=folder -DVCPKG_TARGET_ARCHITECTURE=x86|x64 -DVERSION=version -P vcpkg_stand_in.cmake
cmake_minimum_required(VERSION 3.25)

function(vcpkg_extract_source_archive result)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "ARCHIVE" "")
  set(place ${CURRENT_PACKAGES_DIR}-source)
  file(ARCHIVE_EXTRACT INPUT ${ARG_ARCHIVE} DESTINATION ${place})
  file(GLOB top ${place}/*) # vcpkg leaves out the one folder that holds all others
  set(${result} ${top} PARENT_SCOPE)
endfunction()

function(vcpkg_install_copyright)
  cmake_parse_arguments(PARSE_ARGV 0 ARG "" "" "FILE_LIST")
  foreach(file IN LISTS ARG_FILE_LIST)
    file(READ ${file} text)
    file(APPEND ${CURRENT_PACKAGES_DIR}/share/wendax/copyright "${text}\n")
  endforeach()
endfunction()

include(${PORT}/portfile.cmake)
