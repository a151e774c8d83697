# tessary_add_test(<name> SOURCES <files...> [LIBS <targets...>] [TIMEOUT <seconds>]
#                  [FOREIGN_LOCALE])
#
# Declares one Qt Test executable and its CTest entry. Tests run on the offscreen platform so
# they need no display. FOREIGN_LOCALE adds a second entry of the same executable under a
# far-away time zone and a German locale: code that reads the machine's clock or number
# format by accident fails there.
function(tessary_add_test name)
  cmake_parse_arguments(ARG "FOREIGN_LOCALE" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE Qt6::Test TessaryTestSupport tessary_warnings ${ARG_LIBS})
  # Product code spells every string's encoding out; test tables are easier to read without.
  target_compile_options(${name} PRIVATE -UQT_NO_CAST_FROM_ASCII)
  set(env "QT_QPA_PLATFORM=offscreen" "TESSARY_SHARED_DATA=${PROJECT_SOURCE_DIR}/../shared/data")
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT "${env}")
  if(ARG_FOREIGN_LOCALE)
    add_test(NAME ${name}.Tokyo.de_DE COMMAND ${name})
    set_tests_properties(${name}.Tokyo.de_DE PROPERTIES TIMEOUT ${ARG_TIMEOUT}
      ENVIRONMENT "${env};TZ=Asia/Tokyo;LANG=de_DE.UTF-8;LC_ALL=de_DE.UTF-8")
  endif()
endfunction()
