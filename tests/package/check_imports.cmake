cmake_minimum_required(VERSION 3.25)

# cmake -DOBJDUMP=... -DFOLDER=... -P check_imports.cmake
# Every library that a program in FOLDER binds at its start must stand beside it or be part of
# Windows, or the program won't start on a machine that has nothing else.

set(part_of_windows advapi32 gdi32 kernel32 msvcrt mswsock ole32 psapi shell32 user32 ws2_32)

file(GLOB modules "${FOLDER}/*.exe" "${FOLDER}/*.dll")
if(NOT modules)
  message(FATAL_ERROR "No programs in ${FOLDER}")
endif()
foreach(module IN LISTS modules)
  execute_process(COMMAND "${OBJDUMP}" -p "${module}" OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "DLL Name: [^\r\n]+" imports "${headers}")
  if(NOT imports)
    message(SEND_ERROR "${module}: no imports read")
  endif()
  foreach(import IN LISTS imports)
    string(REGEX REPLACE "DLL Name: (.*)" "\\1" library "${import}")
    string(TOLOWER "${library}" name)
    string(REGEX REPLACE "[.]dll$" "" name "${name}")
    if(NOT name IN_LIST part_of_windows AND NOT EXISTS "${FOLDER}/${library}")
      message(SEND_ERROR "${module} needs ${library}")
    endif()
  endforeach()
endforeach()
