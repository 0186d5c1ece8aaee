# Included before project(): points CMake at clang and clang++ when the user named no
# compiler, so that a plain `cmake -S . -B build` does not cache gcc. An explicit choice
# (CC, CXX, -DCMAKE_C_COMPILER, -DCMAKE_CXX_COMPILER, a toolchain file) is left alone and
# checked after project().
if(CMAKE_TOOLCHAIN_FILE)
  return()
endif()
if(NOT DEFINED CMAKE_C_COMPILER AND NOT DEFINED ENV{CC})
  find_program(VRX_CLANG_C NAMES clang DOC "clang found for the C compiler")
  if(VRX_CLANG_C)
    set(CMAKE_C_COMPILER "${VRX_CLANG_C}" CACHE FILEPATH "C compiler")
  endif()
endif()
if(NOT DEFINED CMAKE_CXX_COMPILER AND NOT DEFINED ENV{CXX})
  find_program(VRX_CLANG_CXX NAMES clang++ DOC "clang++ found for the C++ compiler")
  if(VRX_CLANG_CXX)
    set(CMAKE_CXX_COMPILER "${VRX_CLANG_CXX}" CACHE FILEPATH "C++ compiler")
  endif()
endif()
