# Takes the zip that `cpack` makes, laid beside this file: the library is built by its own cross toolchain.
file(GLOB archive "${CMAKE_CURRENT_LIST_DIR}/Wendax-*-win32.zip")
if(NOT archive)
  message(FATAL_ERROR "Put Wendax-${VERSION}-win32.zip into ${CMAKE_CURRENT_LIST_DIR} first.")
endif()
vcpkg_extract_source_archive(package ARCHIVE "${archive}")

# One build serves both kinds of program: it brings no C runtime that a host could mix.
set(VCPKG_POLICY_MISMATCHED_NUMBER_OF_BINARIES enabled)
set(VCPKG_POLICY_ALLOW_OBSOLETE_MSVCRT enabled)
file(INSTALL "${package}/bin" "${package}/include" DESTINATION "${CURRENT_PACKAGES_DIR}")
file(INSTALL "${package}/lib/" DESTINATION "${CURRENT_PACKAGES_DIR}/lib" FILES_MATCHING PATTERN "*.lib")
file(INSTALL "${package}/tools/" DESTINATION "${CURRENT_PACKAGES_DIR}/tools/wendax")

set(share "${CURRENT_PACKAGES_DIR}/share/wendax")
file(INSTALL "${package}/lib/cmake/Wendax/" DESTINATION "${share}")
file(READ "${share}/WendaxConfig.cmake" config)
string(REPLACE "/../../.." "/../.." config "${config}")
string(REPLACE "/tools/" "/tools/wendax/" config "${config}")
file(WRITE "${share}/WendaxConfig.cmake" "${config}")
file(INSTALL "${CMAKE_CURRENT_LIST_DIR}/usage" DESTINATION "${share}")
vcpkg_install_copyright(FILE_LIST "${package}/LICENSE" "${package}/THIRD-PARTY.md")
