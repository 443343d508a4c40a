# What "cmake --install" lays down and cpack packs, in components: "service" is the programs and the
# documents; "development" is for people who write clients, the client library with its headers and a
# CMake package, and for people who write a recorder library its headers; "simulator" is the simulated
# recorder library; "python" is the Python package. TavuPackages.cmake makes packages of them.

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

install(TARGETS tavusvc tavuctl COMPONENT service)
if(MINGW)
  install(PROGRAMS ${TAVU_RUNTIME_LIBRARIES} DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT service)
elseif(MSVC)
  include(InstallRequiredSystemLibraries)
endif()
if(NOT WIN32)
  include(TavuManual)
  install(FILES "${PROJECT_SOURCE_DIR}/packaging/tavusvc.service" DESTINATION lib/systemd/user
          COMPONENT service)
  set(completion "${PROJECT_SOURCE_DIR}/src/client/tavuctl/completion/tavuctl")
  install(FILES ${completion}.bash DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
          RENAME tavuctl COMPONENT service)
  install(FILES ${completion}.fish DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d"
          COMPONENT service)
  # zsh looks in one folder for what packages bring, and in another for the rest, in no package.
  install(FILES ${completion}.zsh DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions"
          RENAME _tavuctl COMPONENT service EXCLUDE_FROM_ALL)
  install(FILES ${completion}.zsh DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions"
          RENAME _tavuctl COMPONENT unpackaged)
endif()

# Such a folder is what QUILLON_PATH_X64 names. Nobody links the library, so there is no import library.
install(TARGETS quillon RUNTIME DESTINATION "${simulator_folder}/Bin" COMPONENT simulator
                        LIBRARY DESTINATION "${simulator_folder}/Bin" COMPONENT simulator
                        ARCHIVE DESTINATION "${simulator_folder}/Bin" EXCLUDE_FROM_ALL)

foreach(library IN LISTS libraries)
  string(REPLACE tavu_ "" export_name ${library})
  set_target_properties(${library} PROPERTIES EXPORT_NAME ${export_name})
  target_include_directories(${library} INTERFACE "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
endforeach()
install(TARGETS ${libraries} EXPORT tavu ARCHIVE COMPONENT development)
if(CMAKE_STRIP)
  # For packages; what links a library needs its symbols.
  install(CODE "if(CMAKE_INSTALL_DO_STRIP)
    file(GLOB libraries \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/libtavu_*.a\")
    execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug --enable-deterministic-archives \${libraries}
                    COMMAND_ERROR_IS_FATAL ANY)
  endif()" COMPONENT development)
endif()

# "client/connection.h" of our sources is installed as <tavu/client/connection.h>, and the headers
# include each other so: a program can have a client/connection.h of its own.
set(headers client/connection client/errors client/playback client/region client/reply client/request
            client/values encoding/bytes encoding/channel encoding/message_reader encoding/object_value
            encoding/read_ahead encoding/stream encoding/windowed_stream service/transport/local_socket
            service/transport/shared_region wire/commands wire/events wire/names wire/values)
foreach(header common containers device drive_file export instance parameter_value port record storage
               trigger)
  list(APPEND headers hardware/library/${header})
endforeach()
foreach(header IN LISTS headers)
  get_filename_component(folder "${header_folder}/${header}" DIRECTORY)
  install(FILES "${PROJECT_SOURCE_DIR}/src/${header}.h" DESTINATION "${folder}" COMPONENT development)
endforeach()
install(CODE "file(GLOB_RECURSE headers \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${header_folder}/*.h\")
  foreach(header IN LISTS headers)
    file(READ \"\${header}\" text)
    string(REGEX REPLACE \"(#include \\\")(tavu/)?\" \"\\\\1tavu/\" text \"\${text}\")
    file(WRITE \"\${header}\" \"\${text}\")
  endforeach()" COMPONENT development)

install(EXPORT tavu NAMESPACE tavu:: FILE tavu-targets.cmake DESTINATION "${package_folder}"
        COMPONENT development)
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/tavu-config.cmake.in"
                              "${CMAKE_BINARY_DIR}/tavu-config.cmake"
                              INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file("${CMAKE_BINARY_DIR}/tavu-config-version.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_BINARY_DIR}/tavu-config.cmake"
              "${CMAKE_BINARY_DIR}/tavu-config-version.cmake"
        DESTINATION "${package_folder}" COMPONENT development)

# The documents lie to each other as they do in the source tree.
install(FILES "${PROJECT_SOURCE_DIR}/README.md" DESTINATION "${doc_folder}" COMPONENT service)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" DESTINATION "${doc_folder}" COMPONENT service)
install(FILES "${PROJECT_SOURCE_DIR}/simulator/README.md" DESTINATION "${doc_folder}/simulator"
        COMPONENT service)
install(FILES "${PROJECT_SOURCE_DIR}/src/hardware/library/README.md"
        DESTINATION "${doc_folder}/src/hardware/library" COMPONENT development)
install(FILES "${PROJECT_SOURCE_DIR}/src/hardware/binding/quillon_functions.txt"
        DESTINATION "${doc_folder}/src/hardware/binding" COMPONENT development)
include(TavuPython)
if(WIN32)
  install(FILES "${PROJECT_SOURCE_DIR}/docs/windows.md" DESTINATION . RENAME README.md COMPONENT service)
endif()

include(TavuPackages)
