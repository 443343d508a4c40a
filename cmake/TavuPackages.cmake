# Packages of the components that TavuInstall.cmake names: a .deb of each on Linux, one zip of all on
# Windows.

set(CPACK_PACKAGE_NAME tavu)
set(CPACK_PACKAGE_VENDOR "The tavu developers")
set(CPACK_PACKAGE_CONTACT "The tavu developers <tavu@example.org>") # nobody's address yet
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/package")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME "tavu-${PROJECT_VERSION}-windows-x64")
  include(CPack)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # or CPack would put it before that of each component
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL)

# What Debian wants beside each package, without names and times in the archives.
set(folder "${CMAKE_BINARY_DIR}/debian")
configure_file("${PROJECT_SOURCE_DIR}/packaging/changelog.in" "${folder}/changelog.Debian" @ONLY)
configure_file("${PROJECT_SOURCE_DIR}/CHANGELOG.md" "${folder}/changelog" COPYONLY)
foreach(name changelog.Debian changelog)
  execute_process(COMMAND "${TAVU_GZIP}" -9nkf "${folder}/${name}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
install(FILES "${folder}/changelog.gz" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/tavu"
        COMPONENT service EXCLUDE_FROM_ALL)

# tavu_add_package(COMPONENT NAME SECTION TEXT [FIELD VALUE]...): the .deb of a component. The first
# line of TEXT is what lists show; FIELD is one of CPack's, such as SUGGESTS.
macro(tavu_add_package component name section text)
  install(FILES "${PROJECT_SOURCE_DIR}/packaging/copyright" "${folder}/changelog.Debian.gz"
          DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${name}" COMPONENT ${component} EXCLUDE_FROM_ALL)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${text}")
  set(fields ${ARGN})
  while(fields)
    list(POP_FRONT fields field value)
    set(CPACK_DEBIAN_${key}_PACKAGE_${field} "${value}")
  endwhile()
endmacro()

tavu_add_package(service tavu video "service for camera data recorders, and its command-line client
tavusvc is the one process on a machine that talks to camera data recorders;
programs connect to it to record, list and play back recordings frame by frame
through shared memory, to watch a port live, and to talk to the cameras.
tavuctl does all that from the command line, tavuview in a browser." SUGGESTS "bash-completion, tavu-simulator, libtavu-dev")

tavu_add_package(development libtavu-dev libdevel "client library of the camera recorder service tavusvc
A C++ library to write clients of tavusvc with, linked statically, its headers
and its CMake package. The headers of the interface behind which a recorder
library stands are here, too." SUGGESTS "tavu, cmake, libboost-dev")

tavu_add_package(simulator tavu-simulator video "simulated recorders for the camera recorder service tavusvc
A recorder library whose recorders, with their ports, drives and cameras, are
described in text files. With it tavusvc and its clients can be tried, and be
made to meet faults, on a machine without a recorder." RECOMMENDS "tavu (= ${PROJECT_VERSION}-1)")

tavu_add_package(python python3-tavu python "camera recorder service tavusvc for Python, as numpy arrays
Recorders, recordings and live pictures of tavusvc as Python objects and numpy
arrays; events; exports to .npy, TIFF, HDF5 and Zarr, for clusters too.
It is a client: the service is in the package tavu."
  ARCHITECTURE all DEPENDS "python3 (>= 3.9), python3-msgpack, python3-numpy" RECOMMENDS tavu
  SUGGESTS "python3-dask, python3-distributed, python3-h5py, python3-tifffile, python3-tqdm, python3-zarr")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/python/postinst"
                                              "${PROJECT_SOURCE_DIR}/packaging/python/prerm")

include(CPack)
