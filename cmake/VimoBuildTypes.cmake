# Build types: Debug, Release and Asan (AddressSanitizer + UndefinedBehaviorSanitizer).
set(_asan_flags "-O1 -g -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined")
set(CMAKE_C_FLAGS_ASAN "${_asan_flags}" CACHE STRING "C flags of the Asan build" FORCE)
set(CMAKE_CXX_FLAGS_ASAN "${_asan_flags}" CACHE STRING "C++ flags of the Asan build" FORCE)
set(CMAKE_EXE_LINKER_FLAGS_ASAN "-fsanitize=address,undefined" CACHE STRING "" FORCE)
set(CMAKE_SHARED_LINKER_FLAGS_ASAN "-fsanitize=address,undefined" CACHE STRING "" FORCE)
mark_as_advanced(CMAKE_C_FLAGS_ASAN CMAKE_CXX_FLAGS_ASAN CMAKE_EXE_LINKER_FLAGS_ASAN
                 CMAKE_SHARED_LINKER_FLAGS_ASAN)
