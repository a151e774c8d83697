# cmake -DPROGRAM=… -DNAME=… -DSUMMARY=… -DVERSION=… [-DCOMMANDS=a;b] -DOUTPUT=x.1.gz -P ManPage.cmake
# Writes a program's manual page from its own --help, so the page says what the program says:
# the help's first paragraph (its usage lines) is the synopsis, the rest the description, set
# as written; a program with commands gets each command's --help as a section of its own. The
# page is compressed without a timestamp, as Debian packages want it.
cmake_minimum_required(VERSION 3.25)

# The help texts name the default folders below the home directory; "~" reads right in a
# manual and keeps the build machine's home out of the page.
set(ENV{HOME} "~")
unset(ENV{XDG_DATA_HOME})

function(help_of out)
  execute_process(COMMAND "${PROGRAM}" ${ARGN} --help OUTPUT_VARIABLE text RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${NAME} ${ARGN} --help failed (${status})")
  endif()
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

# Text to show as it is: no line may start with a roff control character, and a backslash
# is printed as one.
function(verbatim out text)
  string(REPLACE "\\" "\\e" text "${text}")
  string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" text "${text}")
  string(STRIP "${text}" text)
  set(${out} ".nf\n${text}\n.fi\n" PARENT_SCOPE)
endfunction()

help_of(help)
string(FIND "${help}" "\n\n" split)
if(split EQUAL -1)
  message(FATAL_ERROR "${NAME} --help has no usage paragraph")
endif()
string(SUBSTRING "${help}" 0 ${split} synopsis)
string(SUBSTRING "${help}" ${split} -1 description)
string(REGEX REPLACE "^Usage:[ \n]*" "" synopsis "${synopsis}")
string(REGEX REPLACE "\n[ \t]+" "\n" synopsis "${synopsis}")

string(TOUPPER "${NAME}" title)
string(TIMESTAMP month "%B %Y" UTC)
string(REPLACE "-" "\\-" name "${NAME}")
verbatim(synopsis "${synopsis}")
verbatim(description "${description}")
set(page ".TH ${title} 1 \"${month}\" \"${NAME} ${VERSION}\" \"User Commands\"
.SH NAME
${name} \\- ${SUMMARY}
.SH SYNOPSIS
${synopsis}.SH DESCRIPTION
${description}")
if(COMMANDS)
  string(APPEND page ".SH COMMANDS\n")
  foreach(command IN LISTS COMMANDS)
    help_of(text ${command})
    verbatim(text "${text}")
    string(APPEND page ".SS \"${NAME} ${command}\"\n${text}")
  endforeach()
endif()

get_filename_component(work "${OUTPUT}" DIRECTORY)
set(plain "${work}/${NAME}.1")
file(WRITE "${plain}" "${page}")
execute_process(COMMAND gzip -9nf "${plain}" RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "gzip could not compress ${plain}")
endif()
