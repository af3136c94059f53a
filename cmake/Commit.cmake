# cmake -DSOURCE=FOLDER -DOUTPUT=commit.h -P Commit.cmake: writes the commit that the sources are of, as
# commit.txt of an exported archive tells it, or else git. A file that is right already is left alone.
set(commit unknown)
file(STRINGS ${SOURCE}/cmake/commit.txt exported REGEX "^[0-9a-f]+$")
if(exported)
  set(commit ${exported})
else()
  # Sources that lie in the checkout of something else have a prefix there, and are of no commit of it.
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

file(CONFIGURE OUTPUT ${OUTPUT} CONTENT "#define RUVEX_COMMIT \"${commit}\"\n" @ONLY)
