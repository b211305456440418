# kyb_add_test(NAME SOURCES file... LIBRARIES target... [HEADERS target] [ENVIRONMENT VAR=value...] [TIMEOUT seconds])
#
# Builds one GoogleTest program and registers each of its tests with ctest, one process each, so that tests run in parallel
# and in any order. HEADERS: the target whose precompiled headers this one takes.

find_package(GTest REQUIRED)
include(GoogleTest)

# Tests are compiled more often than they run: without optimisation, also in a release build.
function(kyb_compile_quickly NAME)
  target_compile_options(${NAME} PRIVATE -O0)
endfunction()

# What a desktop session has and a build machine may not; without it the toolkit makes one among the temporary files.
set(KYB_TEST_RUNTIME_DIR "${CMAKE_BINARY_DIR}/runtime")
file(MAKE_DIRECTORY "${KYB_TEST_RUNTIME_DIR}")
file(CHMOD "${KYB_TEST_RUNTIME_DIR}" DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)

function(kyb_add_test NAME)
  cmake_parse_arguments(ARG "" "HEADERS;TIMEOUT" "SOURCES;LIBRARIES;ENVIRONMENT" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  add_executable(${NAME} ${ARG_SOURCES})
  target_link_libraries(${NAME} PRIVATE ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main kyb_options)
  kyb_compile_quickly(${NAME})
  if(ARG_HEADERS)
    target_precompile_headers(${NAME} REUSE_FROM ${ARG_HEADERS})
  endif()
  # NB: not the property ENVIRONMENT, of which gtest_discover_tests passes on one variable, and no more.
  set_target_properties(${NAME} PROPERTIES
    CROSSCOMPILING_EMULATOR "env;XDG_RUNTIME_DIR=${KYB_TEST_RUNTIME_DIR};${ARG_ENVIRONMENT}")
  gtest_discover_tests(${NAME} DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES PROPERTIES TIMEOUT ${ARG_TIMEOUT})
endfunction()
