# How every target of the project is compiled. Whether a warning is an error is the presets' matter.

add_library(ruvex_options INTERFACE)
target_compile_options(ruvex_options INTERFACE
  -Wall -Wextra -Wconversion -Wshadow -Wpedantic
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= -ffile-prefix-map=${PROJECT_BINARY_DIR}/=build/)
target_compile_definitions(ruvex_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
if(RUVEX_SANITIZE)
  target_compile_options(ruvex_options INTERFACE
    -fsanitize=${RUVEX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_definitions(ruvex_options INTERFACE _GLIBCXX_ASSERTIONS)
  target_link_options(ruvex_options INTERFACE -fsanitize=${RUVEX_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND RUVEX_SANITIZE MATCHES "address")
    # The tests start programs thousands of times. At a fixed place, and with the sanitizers in them,
    # they start in a third of the time: nothing is loaded, and 380,000 addresses are not moved.
    target_compile_options(ruvex_options INTERFACE -fno-pie)
    target_link_options(ruvex_options INTERFACE -no-pie -static-libasan)
    if(RUVEX_SANITIZE MATCHES "undefined")
      target_link_options(ruvex_options INTERFACE -static-libubsan)
    endif()
  endif()
else()
  target_link_options(ruvex_options INTERFACE -Wl,-z,relro,-z,now)
endif()
if(RUVEX_COVERAGE)
  target_compile_options(ruvex_options INTERFACE --coverage)
  target_link_options(ruvex_options INTERFACE --coverage)
endif()

# What the product itself is built with: it throws nothing and asks no type at run time.
add_library(ruvex_product_options INTERFACE)
target_link_libraries(ruvex_product_options INTERFACE ruvex_options)
target_compile_options(ruvex_product_options INTERFACE
  -fno-exceptions -fno-rtti -ffunction-sections -fdata-sections)
if(NOT RUVEX_SANITIZE)
  target_compile_options(ruvex_product_options INTERFACE
    $<$<CONFIG:Release>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong>)
endif()
if(RUVEX_FUZZ)
  target_compile_options(ruvex_product_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# ruvex_module(NAME [INTERNAL] SOURCES... [USES MODULE...]): the library ruvex::NAME of the folder it
# stands in. It sees the interface, include/ruvex/, and the inner headers of its own folder, and
# links nothing but the modules that it names; scripts/check-includes holds its includes to them.
# What is INTERNAL is not installed.
function(ruvex_module name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "INTERNAL" "" "USES")
  add_library(ruvex_${name} STATIC ${arg_UNPARSED_ARGUMENTS})
  add_library(ruvex::${name} ALIAS ruvex_${name})
  set_target_properties(ruvex_${name} PROPERTIES EXPORT_NAME ${name} POSITION_INDEPENDENT_CODE ON)
  target_include_directories(ruvex_${name} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_include_directories(ruvex_${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_compile_features(ruvex_${name} PUBLIC cxx_std_20)
  target_link_libraries(ruvex_${name} PRIVATE $<BUILD_INTERFACE:ruvex_product_options>)
  foreach(used IN LISTS arg_USES)
    target_link_libraries(ruvex_${name} PUBLIC ruvex_${used})
  endforeach()
  if(NOT arg_INTERNAL)
    set_property(GLOBAL APPEND PROPERTY RUVEX_MODULES ${name})
  endif()
endfunction()

# What has no shared library can stand at any place in memory, too, where the C library has a start
# for it (not that of 32-bit ARM).
if(RUVEX_STATIC)
  include(CheckLinkerFlag)
  check_linker_flag(CXX -static-pie RUVEX_HAS_STATIC_PIE)
  set(static_option $<IF:$<BOOL:${RUVEX_HAS_STATIC_PIE}>,-static-pie,-static>)
endif()

# ruvex_program(NAME SOURCES... USES MODULE...): a program, installed with the rest.
function(ruvex_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "USES")
  add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE ruvex_product_options)
  target_link_options(${name} PRIVATE -Wl,--gc-sections)
  foreach(used IN LISTS arg_USES)
    target_link_libraries(${name} PRIVATE ruvex_${used})
  endforeach()
  if(RUVEX_STATIC)
    set_target_properties(${name} PROPERTIES
      POSITION_INDEPENDENT_CODE "${RUVEX_HAS_STATIC_PIE}")
    target_link_options(${name} PRIVATE ${static_option})
    target_compile_definitions(${name} PRIVATE RUVEX_STATIC)
  elseif(NOT RUVEX_SANITIZE)
    # No shared C++ runtime: most of a short run would be spent in loading it.
    target_link_options(${name} PRIVATE -static-libstdc++ -static-libgcc)
  endif()
  if(RUVEX_INSTALL)
    install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime)
  endif()
endfunction()
