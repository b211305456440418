# The macOS ports and the helper's macOS side, compiled here by Clang against hand-written declarations of the system's C
# interfaces, and their tests, which run against a fake of it: the preset `macos-port`. The rooms above the ports do not
# differ from system to system and are left out.

if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "Blocks need Clang: use the preset macos-port")
endif()

# The property lists are those of a signed build.
set(KYB_SIGNING_IDENTITY "Developer ID Application: Test (AB12CD34EF)")

include(KybRoom)
add_subdirectory(common)
add_subdirectory(tests/fakes/macos)
add_subdirectory(src/base)
add_subdirectory(src/platform)
add_subdirectory(helper)
add_subdirectory(tests/support)
add_subdirectory(tests/platform)
add_subdirectory(tests/platform_macos)
