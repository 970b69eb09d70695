# Makes the API reference of the public headers in what is installed, once for all build trees that install there.
set(place "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/docs")
if(NOT EXISTS "${place}/api/index.html")
  file(READ "${WENDAX_SOURCE}/docs/Doxyfile" settings)
  file(WRITE "${place}/Doxyfile"
    "${settings}\nPROJECT_NUMBER = ${WENDAX_VERSION}\nOUTPUT_DIRECTORY = \"${place}\"\nHTML_OUTPUT = api\n")
  execute_process(COMMAND "${WENDAX_DOXYGEN}" "${place}/Doxyfile" WORKING_DIRECTORY "${WENDAX_SOURCE}/docs"
    COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE "${place}/Doxyfile")
endif()
