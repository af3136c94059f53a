# Builds the program in another folder, with the date of the build given: the archives that it is linked
# from must be those of this build, byte for byte, and the banner must name that date.
set(ENV{SOURCE_DATE_EPOCH} 1000000000)
set(banner "ruvex : Rev 1.0.6 : Sep  9 2001 : 01:46:40\n")

set(folder ${BUILT}/another/folder)
file(REMOVE_RECURSE ${folder})
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${folder} -G ${GENERATOR}
                        -DCMAKE_BUILD_TYPE=Release -DCMAKE_UNITY_BUILD=ON -DRUVEX_TESTS=OFF
                        -DCMAKE_CXX_COMPILER=${COMPILER}
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${folder} --target ruvex --parallel 2
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)

file(GLOB_RECURSE archives RELATIVE ${folder} ${folder}/src/libruvex_*.a)
if(NOT archives)
  message(FATAL_ERROR "There are no archives in ${folder}")
endif()
foreach(archive IN LISTS archives)
  file(SHA256 ${folder}/${archive} there)
  file(SHA256 ${BUILT}/${archive} here)
  if(NOT there STREQUAL here)
    message(FATAL_ERROR "${archive} differs in ${folder} and ${BUILT}")
  endif()
endforeach()

execute_process(COMMAND ${folder}/src/converter/ruvex OUTPUT_VARIABLE output)
string(FIND "${output}" "${banner}" place)
if(NOT place EQUAL 0)
  message(FATAL_ERROR "The program does not begin with\n${banner}but with\n${output}")
endif()
file(REMOVE_RECURSE ${folder})
