# kyb_add_test(NAME SOURCES file... LIBRARIES target... [HEADERS target] [ENVIRONMENT VAR=value...] [TIMEOUT seconds]
#              [LABELS label...])
#
# Builds one GoogleTest program and registers each of its tests with ctest, one process each, so that tests run in parallel
# and in any order. HEADERS: the target whose precompiled headers this one takes.

find_package(GTest REQUIRED)
include(GoogleTest)

# Tests are compiled more often than they run: without optimisation, also in a release build.
function(kyb_compile_quickly NAME)
  target_compile_options(${NAME} PRIVATE -O0)
endfunction()

function(kyb_add_test NAME)
  cmake_parse_arguments(ARG "" "HEADERS;TIMEOUT" "SOURCES;LIBRARIES;ENVIRONMENT;LABELS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  add_executable(${NAME} ${ARG_SOURCES})
  target_link_libraries(${NAME} PRIVATE ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main kyb_options)
  kyb_compile_quickly(${NAME})
  if(ARG_HEADERS)
    target_precompile_headers(${NAME} REUSE_FROM ${ARG_HEADERS})
  endif()
  gtest_discover_tests(${NAME} DISCOVERY_MODE PRE_TEST
    PROPERTIES TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT "${ARG_ENVIRONMENT}" LABELS "${ARG_LABELS}")
endfunction()
