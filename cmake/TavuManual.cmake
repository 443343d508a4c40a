# The manual pages. tavuctl's is made of its own help, where help2man is to be had and what we build
# can run here; the others are written by hand, tavusvc's because its only argument isn't --help.

find_program(TAVU_GZIP gzip REQUIRED)
find_program(TAVU_HELP2MAN help2man)
set(manual_folder "${CMAKE_BINARY_DIR}/man")
set(pages)
file(MAKE_DIRECTORY "${manual_folder}")

# Without a name and a time in the archive: the same page has the same bytes.
foreach(program tavusvc tavuview)
  set(source "${PROJECT_SOURCE_DIR}/packaging/${program}.1")
  set(page "${manual_folder}/${program}.1.gz")
  add_custom_command(OUTPUT "${page}" COMMAND "${TAVU_GZIP}" -9nc "${source}" > "${page}"
                     DEPENDS "${source}" VERBATIM)
  list(APPEND pages "${page}")
endforeach()
if(TAVU_HELP2MAN AND NOT CMAKE_CROSSCOMPILING AND NOT TAVU_SANITIZE)
  set(page "${manual_folder}/tavuctl.1")
  set(script "${CMAKE_CURRENT_LIST_DIR}/manual_page.cmake")
  add_custom_command(OUTPUT "${page}.gz"
                     COMMAND "${CMAKE_COMMAND}" "-DHELP2MAN=${TAVU_HELP2MAN}"
                             "-DPROGRAM=$<TARGET_FILE:tavuctl>" "-DVERSION=${PROJECT_VERSION}"
                             "-DPAGE=${page}" -P "${script}"
                     COMMAND "${TAVU_GZIP}" -9nf "${page}"
                     DEPENDS tavuctl "${script}" VERBATIM)
  list(APPEND pages "${page}.gz")
else()
  message(STATUS "No manual page of tavuctl: it takes help2man, and a program that runs here")
endif()
add_custom_target(tavu_manual ALL DEPENDS ${pages})
install(FILES ${pages} DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT service)
