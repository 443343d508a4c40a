cmake_minimum_required(VERSION 3.25)

# cmake -DLIST=... -DLIBRARY=... -DREADER=... -DU64=... -P check_exports.cmake
# Each function of the recorder library that the service calls must be exported by the simulated
# library: one that is absent only shows when it is called. READER is the command that lists exports.

file(STRINGS "${LIST}" functions REGEX "^_Z")
execute_process(COMMAND ${READER} "${LIBRARY}" OUTPUT_VARIABLE exports COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "_Z[A-Za-z0-9_]+" exports "${exports}")
if(NOT functions OR NOT exports)
  message(FATAL_ERROR "Nothing to compare")
endif()
foreach(function IN LISTS functions)
  string(REPLACE "{u64}" "${U64}" function "${function}")
  if(NOT function IN_LIST exports)
    message(SEND_ERROR "${LIBRARY} lacks ${function}")
  endif()
endforeach()
