# Cross toolchain for the UEFI images: clang for x86-64 Windows objects
# (the PE/COFF and Microsoft calling convention UEFI uses), linked by lld-link.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

find_program(QUORVEX_CLANGXX NAMES clang++-14 clang++ REQUIRED)
find_program(QUORVEX_CLANG NAMES clang-14 clang REQUIRED)
find_program(QUORVEX_LLD_LINK NAMES lld-link-14 lld-link REQUIRED)
find_program(QUORVEX_LLVM_AR NAMES llvm-ar-14 llvm-ar REQUIRED)

set(CMAKE_C_COMPILER ${QUORVEX_CLANG})
set(CMAKE_CXX_COMPILER ${QUORVEX_CLANGXX})
set(CMAKE_ASM_COMPILER ${QUORVEX_CLANG})
set(CMAKE_C_COMPILER_TARGET x86_64-unknown-windows)
set(CMAKE_CXX_COMPILER_TARGET x86_64-unknown-windows)
set(CMAKE_ASM_COMPILER_TARGET x86_64-unknown-windows)
set(CMAKE_AR ${QUORVEX_LLVM_AR})
set(CMAKE_LINKER ${QUORVEX_LLD_LINK})

# CMake's Generic platform sets no dependency-file flags, so without these
# the objects would not be rebuilt when a header they include changes.
set(CMAKE_DEPFILE_FLAGS_C "-MD -MT <DEP_TARGET> -MF <DEP_FILE>")
set(CMAKE_DEPFILE_FLAGS_CXX "-MD -MT <DEP_TARGET> -MF <DEP_FILE>")
set(CMAKE_DEPFILE_FLAGS_ASM "-MD -MT <DEP_TARGET> -MF <DEP_FILE>")

# Nothing can be linked or run before the images exist.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

set(QUORVEX_UEFI ON CACHE BOOL "Build the UEFI images" FORCE)
