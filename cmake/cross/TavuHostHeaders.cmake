# Header-only libraries are the same for every target, but the build machine's include folder as a
# whole must never be searched: it would hide the target's own headers.

# tavu_host_headers(TARGET folder FILE): an imported target for the headers that stand in
# /usr/include/folder, with FILE among them. <folder>_HEADERS tells where they were found.
function(tavu_host_headers target folder file)
  find_path(${folder}_HEADERS "${folder}/${file}" PATHS /usr/include /usr/local/include
            NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(${folder}_HEADERS AND NOT TARGET ${target})
    set(shared "${CMAKE_BINARY_DIR}/host-headers")
    file(MAKE_DIRECTORY "${shared}")
    file(CREATE_LINK "${${folder}_HEADERS}/${folder}" "${shared}/${folder}" SYMBOLIC)
    add_library(${target} INTERFACE IMPORTED)
    target_include_directories(${target} SYSTEM INTERFACE "${shared}")
  endif()
endfunction()
