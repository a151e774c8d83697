# The commit the build came from, shown in the about box and sent nowhere else.
# "dev" when the tree is not a git checkout.
find_package(Git QUIET)
set(TESSARY_COMMIT "dev")
if(GIT_FOUND)
  execute_process(COMMAND "${GIT_EXECUTABLE}" rev-parse --short=12 HEAD
    WORKING_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}"
    OUTPUT_VARIABLE _tessary_commit OUTPUT_STRIP_TRAILING_WHITESPACE
    RESULT_VARIABLE _tessary_git_result ERROR_QUIET)
  if(_tessary_git_result EQUAL 0 AND _tessary_commit)
    set(TESSARY_COMMIT "${_tessary_commit}")
  endif()
endif()
if(TESSARY_DEV_BUILD)
  set(TESSARY_APP_ID "dev.tessary.Tessary.Dev")
else()
  set(TESSARY_APP_ID "dev.tessary.Tessary")
endif()
