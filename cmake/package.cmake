# What `cmake --install` puts into place and scripts/package into the zip: everything a host's developer needs, and no
# sources of the library.
include(CMakePackageConfigHelpers)

# What was built for 32 and for 64 bits may go to the same place, after one another.
foreach(dll Wendax KOBRTL fall faultkit)
  if(TARGET ${dll})
    install(FILES ${CMAKE_BINARY_DIR}/bin/${dll}.dll ${CMAKE_BINARY_DIR}/bin/${dll}.pdb DESTINATION bin/${WENDAX_ARCH})
  endif()
endforeach()
# Hosts link with these two alone.
foreach(dll Wendax faultkit)
  if(TARGET ${dll})
    install(FILES ${CMAKE_BINARY_DIR}/lib/${dll}.lib DESTINATION lib/${WENDAX_ARCH})
  endif()
endforeach()

install(FILES include/wendax.h include/wendax_cover.h include/wendax_delivery.h include/wendax_error.h include/wendax_runtime.h companions/faultkit/faultkit.h DESTINATION include)
# For those who write format modules.
install(FILES glib/module_contract.h glib/result_code.h glib/save_record.h DESTINATION include/glib)

install(DIRECTORY examples DESTINATION . USE_SOURCE_PERMISSIONS
  PATTERN reports EXCLUDE
  REGEX "examples/CMakeLists\\.txt$" EXCLUDE)
install(DIRECTORY docs DESTINATION .
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.svg" PATTERN "*.csv")
find_program(WENDAX_DOXYGEN doxygen DOC "Makes the API reference of what is installed; left out without it")
if(WENDAX_DOXYGEN)
  install(CODE "set(WENDAX_DOXYGEN \"${WENDAX_DOXYGEN}\")\nset(WENDAX_SOURCE \"${CMAKE_CURRENT_SOURCE_DIR}\")\nset(WENDAX_VERSION ${PROJECT_VERSION})")
  install(SCRIPT cmake/install_reference.cmake)
endif()
install(PROGRAMS tools/redirect.py DESTINATION tools)
install(DIRECTORY tools/symbolize DESTINATION tools USE_SOURCE_PERMISSIONS FILES_MATCHING PATTERN "*.py")
install(FILES LICENSE CHANGELOG.md THIRD-PARTY.md DESTINATION .)
install(FILES packaging/README.md DESTINATION .)

write_basic_package_version_file(${CMAKE_BINARY_DIR}/WendaxConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
install(FILES packaging/WendaxConfig.cmake ${CMAKE_BINARY_DIR}/WendaxConfigVersion.cmake DESTINATION lib/cmake/Wendax)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_VENDOR "The Wendax maintainers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Crash reports for Windows desktop programs")
set(CPACK_PACKAGE_FILE_NAME Wendax-${PROJECT_VERSION})
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
