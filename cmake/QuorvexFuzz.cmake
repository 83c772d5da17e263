# The fuzz tree (build/fuzz): every tests/fuzz/*_fuzz.cpp becomes a libFuzzer
# target, compiled with clang under AddressSanitizer and UBSan against the
# utility, the reference platform and the fake firmware. The generated
# sources (texts, pictures, fonts) come from the host tree, as for the UEFI
# tree; the Makefile builds the host tree's generated sources first.
#
#   tests/fuzz/<name>_fuzz.cpp   -> build/fuzz/<name>_fuzz
#   tests/fuzz/corpus/<name>/    its seed corpus
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  message(FATAL_ERROR "The fuzz tree needs clang (configure with CXX=clang++ CC=clang)")
endif()

set(QUORVEX_GENERATED_DIR ${QUORVEX_SOURCE_DIR}/build/host/generated
    CACHE PATH "Generated sources made by the host tree")
set(GEN ${QUORVEX_GENERATED_DIR})
quorvex_prefix(gen_utility ${GEN} ${QUORVEX_GENERATED_UTILITY_SOURCES})
quorvex_prefix(gen_reference ${GEN} ${QUORVEX_GENERATED_REFERENCE_SOURCES})
set_source_files_properties(${gen_utility} ${gen_reference} PROPERTIES GENERATED TRUE)

# Instrumentation for every object; the fuzzer's main() only in the targets.
add_library(quorvex_fuzz_flags INTERFACE)
target_compile_options(quorvex_fuzz_flags INTERFACE
  -O1 -g1 -fno-omit-frame-pointer -Wall -Wextra -Werror
  -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined)
target_link_options(quorvex_fuzz_flags INTERFACE -fsanitize=address,undefined)
target_include_directories(quorvex_fuzz_flags INTERFACE ${QUORVEX_SOURCE_DIR} ${GEN})
target_compile_definitions(quorvex_fuzz_flags INTERFACE QUORVEX_ASAN=1 QUORVEX_FUZZ=1)

add_library(quorvex_fuzz_firmware_flags INTERFACE)
target_compile_options(quorvex_fuzz_firmware_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
  -fmacro-prefix-map=${QUORVEX_SOURCE_DIR}/=)
target_compile_definitions(quorvex_fuzz_firmware_flags INTERFACE QUORVEX_ALLOCATION_TRACE=0)

add_library(quorvex_fuzz_platform STATIC ${QUORVEX_PLATFORM_LIB_SOURCES})
target_link_libraries(quorvex_fuzz_platform PUBLIC quorvex_fuzz_flags
                      PRIVATE quorvex_fuzz_firmware_flags)
add_library(quorvex_fuzz_utility STATIC ${QUORVEX_UTILITY_SOURCES} ${gen_utility})
target_link_libraries(quorvex_fuzz_utility PUBLIC quorvex_fuzz_platform
                      PRIVATE quorvex_fuzz_firmware_flags)
add_library(quorvex_fuzz_reference STATIC ${QUORVEX_REFERENCE_SOURCES} ${gen_reference})
target_link_libraries(quorvex_fuzz_reference PUBLIC quorvex_fuzz_platform
                      PRIVATE quorvex_fuzz_firmware_flags)

# The fake firmware without the simulator's main() and window.
set(fuzz_host)
foreach(f IN LISTS QUORVEX_HOST_SOURCES)
  file(STRINGS ${f} main_lines REGEX "^int main\\(")
  get_filename_component(name ${f} NAME)
  if(NOT main_lines AND NOT name STREQUAL "sim_window.cpp")
    list(APPEND fuzz_host ${f})
  endif()
endforeach()
add_library(quorvex_fuzz_host STATIC ${fuzz_host})
target_link_libraries(quorvex_fuzz_host PUBLIC quorvex_fuzz_flags)
set(fuzz_link_group
    "$<LINK_GROUP:RESCAN,quorvex_fuzz_host,quorvex_fuzz_utility,quorvex_fuzz_reference>")

file(GLOB fuzz_sources CONFIGURE_DEPENDS ${QUORVEX_SOURCE_DIR}/tests/fuzz/*_fuzz.cpp)
list(SORT fuzz_sources)
set(QUORVEX_FUZZ_TARGETS)
foreach(source IN LISTS fuzz_sources)
  get_filename_component(target ${source} NAME_WE)
  add_executable(${target} ${source})
  target_link_libraries(${target} PRIVATE quorvex_fuzz_flags ${fuzz_link_group}
                        quorvex_fuzz_platform)
  target_link_options(${target} PRIVATE -fsanitize=fuzzer)
  list(APPEND QUORVEX_FUZZ_TARGETS ${target})
endforeach()

# ctest: each target replays its corpus, then fuzzes for FUZZ_TEST_SECONDS
# (the whole set stays within two minutes on the shared machine).
set(QUORVEX_FUZZ_TEST_SECONDS 10 CACHE STRING "Seconds each fuzz target runs under ctest")
foreach(target IN LISTS QUORVEX_FUZZ_TARGETS)
  string(REGEX REPLACE "_fuzz$" "" corpus ${target})
  add_test(NAME fuzz-${corpus}
           COMMAND ${QUORVEX_PYTHON_FUZZ} ${QUORVEX_SOURCE_DIR}/tests/fuzz/run_fuzz.py
                   --seconds ${QUORVEX_FUZZ_TEST_SECONDS} --work ${CMAKE_BINARY_DIR}/fuzz-work
                   $<TARGET_FILE:${target}>)
  set_tests_properties(fuzz-${corpus} PROPERTIES TIMEOUT 300 LABELS fuzz)
endforeach()
