# What every target is compiled with: link `kyb_options` privately.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_package(Threads REQUIRED)

add_library(kyb_options INTERFACE)
target_compile_options(kyb_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
  -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual -Wformat=2 -Wimplicit-fallthrough
  $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Werror=thread-safety>)
target_compile_definitions(kyb_options INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
target_link_libraries(kyb_options INTERFACE Threads::Threads)

if(KYB_SANITIZE)
  add_compile_options(-fsanitize=${KYB_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${KYB_SANITIZE})
  # GCC takes what a sanitizer's instrumentation reads for uses of variables that were not set, in the libraries' headers too.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
if(CMAKE_UNITY_BUILD)
  # Some presets compile several files at once, which saves half of the time. A test's fixture then stands in an unnamed
  # namespace of what GCC takes for an included file.
  add_compile_options($<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-subobject-linkage>)
endif()
if(KYB_COVERAGE)
  # NB: counted in the file itself (%c), since many a process ends by a signal or without its exit handlers. The file's
  # place is told here, since the helper gives its commands an environment of their own; each program has one (%m).
  set(KYB_PROFILES "${CMAKE_BINARY_DIR}/profiles")
  file(MAKE_DIRECTORY "${KYB_PROFILES}")
  add_compile_options("-fprofile-instr-generate=${KYB_PROFILES}/%c%m.profraw" -fcoverage-mapping
    "SHELL:-mllvm -runtime-counter-relocation")
  add_link_options(-fprofile-instr-generate)
endif()
