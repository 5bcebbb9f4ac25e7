# WebAssembly with WASI and its 128-bit vectors, by Debian's Clang 19. Exceptions end the program: its C++ library has
# none, so nothing is caught.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_ASM_COMPILER clang-19)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
set(CMAKE_ASM_COMPILER_TARGET wasm32-wasi)
set(CMAKE_CXX_FLAGS_INIT "-msimd128 -fignore-exceptions -fconstexpr-steps=200000000")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-z,stack-size=1048576")
