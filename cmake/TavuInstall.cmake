# What "cmake --install" lays down and cpack packs: the programs; for people who write clients the
# client library with its headers and a CMake package, and the simulated recorder library; for people
# who write a recorder library its headers. A .deb on Linux, a zip on Windows.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(libraries tavu_client tavu_transport tavu_encoding tavu_wire tavu_platform)
set(header_folder "${CMAKE_INSTALL_INCLUDEDIR}/tavu")
set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/tavu")
if(WIN32)
  set(doc_folder doc)
  set(simulator_folder simulator)
else()
  set(doc_folder "${CMAKE_INSTALL_DOCDIR}")
  set(simulator_folder lib/tavu/simulator)
endif()

install(TARGETS tavusvc tavuctl)
if(MINGW)
  install(PROGRAMS ${TAVU_RUNTIME_LIBRARIES} DESTINATION "${CMAKE_INSTALL_BINDIR}")
elseif(MSVC)
  include(InstallRequiredSystemLibraries)
endif()

# Such a folder is what QUILLON_PATH_X64 names. Nobody links the library, so there is no import library.
install(TARGETS quillon RUNTIME DESTINATION "${simulator_folder}/Bin"
                        LIBRARY DESTINATION "${simulator_folder}/Bin"
                        ARCHIVE DESTINATION "${simulator_folder}/Bin" EXCLUDE_FROM_ALL)

foreach(library IN LISTS libraries)
  string(REPLACE tavu_ "" export_name ${library})
  set_target_properties(${library} PROPERTIES EXPORT_NAME ${export_name})
  target_include_directories(${library} INTERFACE "$<INSTALL_INTERFACE:${header_folder}>")
endforeach()
install(TARGETS ${libraries} EXPORT tavu)
foreach(folder client encoding wire)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/src/${folder}" DESTINATION "${header_folder}"
          FILES_MATCHING PATTERN "*.h" PATTERN tavuctl EXCLUDE PATTERN tavuview EXCLUDE
          PATTERN tools EXCLUDE)
endforeach()
install(FILES "${PROJECT_SOURCE_DIR}/src/service/transport/local_socket.h"
              "${PROJECT_SOURCE_DIR}/src/service/transport/shared_region.h"
        DESTINATION "${header_folder}/service/transport")

# For people who write a recorder library.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/src/hardware/library" DESTINATION "${header_folder}/hardware")
install(FILES "${PROJECT_SOURCE_DIR}/src/hardware/binding/quillon_functions.txt"
        DESTINATION "${header_folder}/hardware/binding")

install(EXPORT tavu NAMESPACE tavu:: FILE tavu-targets.cmake DESTINATION "${package_folder}")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/tavu-config.cmake.in"
                              "${CMAKE_BINARY_DIR}/tavu-config.cmake"
                              INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file("${CMAKE_BINARY_DIR}/tavu-config-version.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_BINARY_DIR}/tavu-config.cmake"
              "${CMAKE_BINARY_DIR}/tavu-config-version.cmake"
        DESTINATION "${package_folder}")

install(FILES "${PROJECT_SOURCE_DIR}/README.md" DESTINATION "${doc_folder}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" DESTINATION "${doc_folder}")
if(WIN32)
  install(FILES "${PROJECT_SOURCE_DIR}/docs/windows.md" DESTINATION . RENAME README.md)
endif()
install(FILES "${PROJECT_SOURCE_DIR}/simulator/README.md" DESTINATION "${doc_folder}/simulator")

set(CPACK_PACKAGE_NAME tavu)
set(CPACK_PACKAGE_VENDOR "The tavu developers")
set(CPACK_PACKAGE_CONTACT "The tavu developers <tavu@localhost>")
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/package")
set(CPACK_VERBATIM_VARIABLES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME "tavu-${PROJECT_VERSION}-windows-x64")
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION video)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
set(CPACK_STRIP_FILES ON)
include(CPack)
