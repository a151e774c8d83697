# Every target of ours gets the same warnings; CI turns them into errors so a warning
# never lands quietly.
add_library(tessary_warnings INTERFACE)
target_compile_options(tessary_warnings INTERFACE -Wall -Wextra -Wpedantic)
# GCC 12 reports std::optional<QString> members as "maybe uninitialized" in optimised
# builds when records are moved by std algorithms; it is a known false positive.
target_compile_options(tessary_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
# Our records and options give every field a default, so `RankRow{ticker, value}` means "the
# rest as defaulted"; -Wextra's missing-field-initializers calls that an error field by field.
target_compile_options(tessary_warnings INTERFACE -Wno-missing-field-initializers)
if(DEFINED ENV{CI} AND NOT "$ENV{CI}" STREQUAL "" AND NOT "$ENV{CI}" STREQUAL "false")
  message(STATUS "CI build: warnings are errors")
  target_compile_options(tessary_warnings INTERFACE -Werror)
endif()
# Clang reads GCC 12's C++ library, whose std::stable_sort calls get_temporary_buffer, which
# C++23 deprecates; GCC hides that inside its own headers, Clang blames our call site.
target_compile_options(tessary_warnings INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wno-deprecated-declarations>)
