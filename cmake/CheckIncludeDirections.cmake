# Fails when a source file includes a header its library must not see, so dependencies keep
# running one way:
#   TessaryWire -> TessaryCore -> TessaryViews -> tessary
#   TessaryWire -> TessaryServerLib -> tessary-server
# Run by CTest: cmake -DSOURCE_DIR=<repository> -P CheckIncludeDirections.cmake
#
# Each rule is "<including file regex> :: <included header regex> :: <why>", matched against
# paths relative to Sources/. An include is resolved like the compiler does: next to the
# including file first, then from Sources/.

set(rules
  "^TessaryWire/ :: ^(Tessary|TessaryServer)/ :: the wire library is shared by both sides and includes neither"
  "^TessaryServer/ :: ^Tessary/ :: the server shares only the wire library with the app"
  "^Tessary/(Shell|Model|MarketData|Store|Account)/ :: ^Tessary/(Views|Widgets|App)/ :: TessaryCore includes no view, widget or app header"
  "^Tessary/(Shell|Model|MarketData|Store|Account)/ :: ^TessaryServer/ :: TessaryCore reaches the server over HTTP only"
  "^Tessary/Model/ :: ^Tessary/MarketData/ :: the model is built from wire records, not from the client"
  "^Tessary/MarketData/ :: ^Tessary/Model/ :: the client speaks in wire records, not in model types"
  "^Tessary/Views/Input/ :: ^Tessary/Views/Main/ :: the input views are placed by the main window, not the other way round")

# Known wrong-way includes waiting for a move elsewhere: "<including file> :: <included header>".
# One that no longer occurs fails the check too, so the list only ever shrinks.
set(exceptions)

cmake_minimum_required(VERSION 3.25)

if(NOT SOURCE_DIR)
  message(FATAL_ERROR "pass -DSOURCE_DIR=<repository root>")
endif()
set(sources "${SOURCE_DIR}/Sources")
file(GLOB_RECURSE files RELATIVE "${sources}" "${sources}/*.h" "${sources}/*.cpp" "${sources}/*.h.in")

set(violations "")
set(excused "")
foreach(file IN LISTS files)
  file(STRINGS "${sources}/${file}" lines REGEX "^[ \t]*#[ \t]*include[ \t]*[\"<][^\">]+[\">]")
  get_filename_component(directory "${file}" DIRECTORY)
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*[\"<]([^\">]+)[\">].*$" "\\1" header "${line}")
    if(EXISTS "${sources}/${directory}/${header}")
      get_filename_component(resolved "${sources}/${directory}/${header}" ABSOLUTE)
      file(RELATIVE_PATH resolved "${sources}" "${resolved}")
    elseif(header MATCHES "^(Tessary|TessaryWire|TessaryServer)/")
      # From Sources/, or generated into the build tree (TessaryWire/BuildInfo.h).
      set(resolved "${header}")
    else()
      continue() # Qt, std, SQLite, simdjson...
    endif()
    foreach(rule IN LISTS rules)
      string(REPLACE " :: " ";" parts "${rule}")
      list(GET parts 0 from)
      list(GET parts 1 to)
      list(GET parts 2 why)
      if(file MATCHES "${from}" AND resolved MATCHES "${to}")
        if("${file} :: ${resolved}" IN_LIST exceptions)
          list(APPEND excused "${file} :: ${resolved}")
        else()
          string(APPEND violations "  Sources/${file} includes ${resolved}: ${why}\n")
        endif()
      endif()
    endforeach()
  endforeach()
endforeach()

foreach(exception IN LISTS exceptions)
  if(NOT exception IN_LIST excused)
    string(REPLACE " :: " " includes " text "${exception}")
    string(APPEND violations "  ${text} no longer: remove it from the exceptions in ${CMAKE_CURRENT_LIST_FILE}\n")
  endif()
endforeach()

if(violations)
  message(FATAL_ERROR "Includes that run against the library graph:\n${violations}")
endif()
list(LENGTH files count)
message(STATUS "${count} source files include only what their library may see")
