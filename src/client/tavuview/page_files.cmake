# Makes page_files.cpp: cmake -D OUTPUT=... -D FOLDER=... -P page_files.cmake

set(types html "text/html; charset=utf-8" js "text/javascript; charset=utf-8"
          css "text/css; charset=utf-8" svg "image/svg+xml")
file(GLOB files RELATIVE "${FOLDER}" "${FOLDER}/*")
list(SORT files)
set(arrays "")
set(rows "")
set(count 0)
foreach(name IN LISTS files)
  string(REGEX MATCH "[a-z]+$" ending "${name}")
  list(FIND types "${ending}" at)
  math(EXPR at "${at} + 1")
  list(GET types ${at} type)
  file(READ "${FOLDER}/${name}" bytes HEX)
  string(LENGTH "${bytes}" length)
  math(EXPR length "${length} / 2")
  string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
  # Compilers limit the length of a line.
  string(REGEX REPLACE "(('[^']*',){16})" "\\1\n    " bytes "${bytes}")
  set(path "/${name}")
  if(name STREQUAL "index.html")
    set(path "/")
  endif()
  string(APPEND arrays "constexpr char kFile${count}[] = {\n    ${bytes}};\n\n")
  string(APPEND rows "    {\"${path}\", \"${type}\", {kFile${count}, ${length}}},\n")
  math(EXPR count "${count} + 1")
endforeach()
file(WRITE "${OUTPUT}"
     "#include \"client/tavuview/page_files.h\"\n\n#include <array>\n\nnamespace tavu::view {\n\nnamespace {\n\n"
     "${arrays}constexpr std::array<PageFile, ${count}> kFiles = {{\n${rows}}};\n\n} // namespace\n\n"
     "std::span<const PageFile> pageFiles()\n{\n    return kFiles;\n}\n\n} // namespace tavu::view\n")
