# Builds the program twice, in two folders, with the date of the build given: the two programs and
# the archives that they are linked from must be equal byte for byte, and the banner must name that
# date.
set(ENV{SOURCE_DATE_EPOCH} 1000000000)
set(banner "ruvex : Rev 1.0.6 : Sep  9 2001 : 01:46:40\n")

set(options -DCMAKE_BUILD_TYPE=Release -DCMAKE_UNITY_BUILD=ON -DRUVEX_TESTS=OFF
    -DCMAKE_CXX_COMPILER=${COMPILER})

file(REMOVE_RECURSE ${WORK})
set(folders ${WORK}/a ${WORK}/another/folder)
foreach(folder IN LISTS folders)
  execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${folder} -G ${GENERATOR} ${options}
                  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${CMAKE_COMMAND} --build ${folder} --target ruvex --parallel 2
                  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  set(program ${folder}/src/converter/ruvex)
  file(GLOB_RECURSE archives ${folder}/src/libruvex_*.a)
  set(hash "")
  foreach(built IN LISTS archives ITEMS ${program})
    file(SHA256 ${built} own)
    string(APPEND hash ${own})
  endforeach()
  list(APPEND hashes ${hash})

  execute_process(COMMAND ${program} OUTPUT_VARIABLE output)
  string(FIND "${output}" "${banner}" place)
  if(NOT place EQUAL 0)
    message(FATAL_ERROR "${program} does not begin with\n${banner}but with\n${output}")
  endif()
endforeach()
list(REMOVE_DUPLICATES hashes)
list(LENGTH hashes different)
if(NOT different EQUAL 1)
  message(FATAL_ERROR "The programs built in ${folders} differ")
endif()
file(REMOVE_RECURSE ${WORK})
