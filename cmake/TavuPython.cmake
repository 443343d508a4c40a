# The Python package: on Linux where Debian has such packages, with the record by which pip and
# importlib.metadata know it. On Windows, which has no such place, its source is packed, for pip.

set(python_folder "${PROJECT_SOURCE_DIR}/python")
if(WIN32)
  install(DIRECTORY "${python_folder}" DESTINATION "${doc_folder}" COMPONENT python
          PATTERN tests EXCLUDE PATTERN __pycache__ EXCLUDE PATTERN *.egg-info EXCLUDE PATTERN build EXCLUDE)
  return()
endif()

set(modules lib/python3/dist-packages)
set(record "tavu-${PROJECT_VERSION}.dist-info")
configure_file("${PROJECT_SOURCE_DIR}/packaging/python/METADATA.in" "${CMAKE_BINARY_DIR}/${record}/METADATA" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/${record}/METADATA" DESTINATION "${modules}/${record}" COMPONENT python)
install(DIRECTORY "${python_folder}/src/tavu" DESTINATION "${modules}" COMPONENT python
        FILES_MATCHING PATTERN "*.py" PATTERN py.typed PATTERN __pycache__ EXCLUDE)
install(FILES "${python_folder}/README.md" DESTINATION "${doc_folder}/python" COMPONENT python)
install(DIRECTORY "${python_folder}/examples" "${python_folder}/bench" DESTINATION "${doc_folder}/python"
        COMPONENT python FILES_MATCHING PATTERN "*.py")
