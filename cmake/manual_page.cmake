cmake_minimum_required(VERSION 3.25)

# cmake -DHELP2MAN=... -DPROGRAM=... -DVERSION=... -DPAGE=... -P manual_page.cmake
# Writes tavuctl's manual page: help2man's over "tavuctl --help", and behind it, command by command,
# what it makes of "tavuctl COMMAND --help".

# Roff for what a command's help says; "commands" become those that the help lists.
function(describe command result commands)
  execute_process(COMMAND "${HELP2MAN}" --no-info --section=1 "--version-string=tavuctl ${VERSION}"
                          "--name=drive the recorders of a running tavusvc" "${command}"
                  OUTPUT_VARIABLE page COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE "(\\\\fB\\\\-.\\\\fR),(\\\\-[^ \n]+)" "\\1, \\\\fB\\2\\\\fR" page "${page}")
  # Examples are lines, and no text to be filled.
  string(REGEX REPLACE "\n\\.SH EXAMPLES\n\\.IP\n(.*)" "\n.SH EXAMPLES\n.nf\n\\1.fi\n" page "${page}")
  string(REGEX REPLACE "(\\.SS \"A first recording:\"\n)\\.IP\n(([^\n.][^\n]*\n)*)" "\\1.nf\n\\2.fi\n"
         page "${page}")
  set(${result} "${page}" PARENT_SCOPE)
  set(names)
  if(page MATCHES "\n\\.SS \"Subcommands:\"\n(.*)")
    string(REGEX REPLACE "\n\\.S[SH] .*" "\n" list "${CMAKE_MATCH_1}")
    string(REGEX MATCHALL "\\.TP\n[a-z]+\n" names "${list}")
    list(TRANSFORM names REPLACE "\\.TP|\n" "")
  endif()
  set(${commands} "${names}" PARENT_SCOPE)
endfunction()

# Adds a section for each command and those below it.
function(describe_all parent)
  foreach(name IN LISTS ARGN)
    describe("${parent} ${name}" text inner)
    string(REGEX REPLACE ".*\n\\.SH SYNOPSIS\n" ".SS \"tavuctl ${name}\"\n" text "${text}")
    string(REPLACE "${PROGRAM} " "" path "${parent} ${name}")
    string(REGEX REPLACE "^\\.SS [^\n]*" ".SS \"tavuctl ${path}\"" text "${text}")
    string(REGEX REPLACE "\n\\.S[HS] (OPTIONS|\"[A-Za-z]+:\")\n" "\n" text "${text}")
    string(REPLACE "\n.SH DESCRIPTION\n" "\n.PP\n" text "${text}")
    string(REPLACE "\n.SH EXAMPLES\n" "\n.PP\nExamples:\n.PP\n" text "${text}")
    set_property(GLOBAL APPEND_STRING PROPERTY sections "${text}")
    describe_all("${parent} ${name}" ${inner})
  endforeach()
endfunction()

describe("${PROGRAM}" page commands)
if(NOT commands)
  message(FATAL_ERROR "${PROGRAM} tells of no commands")
endif()
describe_all("${PROGRAM}" ${commands})
get_property(sections GLOBAL PROPERTY sections)
string(APPEND page ".SH COMMANDS\n${sections}.SH \"SEE ALSO\"\n.BR tavusvc (1)\n")
file(WRITE "${PAGE}" "${page}")
