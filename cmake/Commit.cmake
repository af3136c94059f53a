# cmake -DSOURCE=FOLDER -DOUTPUT=commit.h -P Commit.cmake: writes the commit that the sources are of, as
# commit.txt of an exported archive tells it, or else git.
set(commit unknown)
file(STRINGS ${SOURCE}/cmake/commit.txt exported REGEX "^[0-9a-f]+$")
if(exported)
  set(commit ${exported})
else()
  # --is-inside-work-tree alone would be true of sources that lie in the checkout of something else.
  execute_process(COMMAND git -C ${SOURCE} rev-parse --show-prefix HEAD
                  OUTPUT_VARIABLE found RESULT_VARIABLE result ERROR_QUIET)
  if(result EQUAL 0 AND found MATCHES "^\n([0-9a-f]+)\n$")
    set(commit ${CMAKE_MATCH_1})
    execute_process(COMMAND git -C ${SOURCE} status --porcelain --untracked-files=no
                    OUTPUT_VARIABLE changes ERROR_QUIET)
    if(changes)
      string(APPEND commit " with changes")
    endif()
  endif()
endif()

set(content "#define RUVEX_COMMIT \"${commit}\"\n")
set(previous "")
if(EXISTS ${OUTPUT})
  file(READ ${OUTPUT} previous)
endif()
if(NOT content STREQUAL previous)
  file(WRITE ${OUTPUT} "${content}")
endif()
