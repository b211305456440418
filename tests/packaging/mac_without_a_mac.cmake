# A toolchain to configure as on a Mac where there is none, and to build nothing: each line stands for something that a Mac
# has and this machine has not. Nothing of the project's own is set here, so that its mistakes are seen.

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_INSTALL_NAME_TOOL /bin/false)
set(CMAKE_OSX_SYSROOT /)

# What would be found out by compiling for a Mac.
foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_WORKS TRUE)
  set(CMAKE_${language}_ABI_COMPILED TRUE)
endforeach()
set(CMAKE_SIZEOF_VOID_P 8)
set(CMAKE_HAVE_LIBC_PTHREAD TRUE)
set(HAVE_STDATOMIC TRUE)
