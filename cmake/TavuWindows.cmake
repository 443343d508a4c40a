# What every program of ours needs on Windows: the manifest, and with mingw-w64 its runtime.

target_compile_definitions(tavu_options INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)

# The manifest makes UTF-8 the process's code page, for arguments, environment and output alike.
set(folder "${CMAKE_CURRENT_LIST_DIR}/windows")
set(is_program "$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>")
if(MSVC)
  # Its linker writes a manifest of its own, into which it merges ours.
  target_sources(tavu_options INTERFACE "$<${is_program}:${folder}/tavu.manifest>")
else()
  enable_language(RC)
  target_sources(tavu_options INTERFACE "$<${is_program}:${folder}/tavu.rc>")
endif()

# An exception that crosses from one module to another needs one runtime for both, so the runtime
# is shared, and stands beside the programs.
if(MINGW)
  if(NOT CMAKE_STRIP)
    message(FATAL_ERROR "strip for ${CMAKE_SYSTEM_NAME} not found")
  endif()
  foreach(name libgcc_s_seh-1.dll libstdc++-6.dll libwinpthread-1.dll)
    execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=${name}
                    OUTPUT_VARIABLE library OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${library}")
      message(FATAL_ERROR "The compiler's ${name} not found")
    endif()
    set(copy "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}")
    if("${library}" IS_NEWER_THAN "${copy}")
      file(MAKE_DIRECTORY "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
      execute_process(COMMAND "${CMAKE_STRIP}" --strip-debug -o "${copy}" "${library}"
                      COMMAND_ERROR_IS_FATAL ANY)
    endif()
    list(APPEND TAVU_RUNTIME_LIBRARIES "${copy}")
  endforeach()
endif()
