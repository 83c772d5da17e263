# The host tree: the utility and the reference platform compiled for Linux
# with g++, the simulator, the unit tests and the build-time generators.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()
# Light optimisation and line tables only: under the sanitizers this halves
# the compile time of -O2 -g and still gives exact stack traces.
set(CMAKE_C_FLAGS_RELWITHDEBINFO "-O1 -g1" CACHE STRING "" FORCE)
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g1" CACHE STRING "" FORCE)

option(QUORVEX_SANITIZE "Build the host code with AddressSanitizer and UBSan" ON)

find_program(QUORVEX_PYTHON NAMES python3 REQUIRED)
set(GEN ${CMAKE_BINARY_DIR}/generated)
file(MAKE_DIRECTORY ${GEN}/setup_data)

# Warnings and sanitizers, shared by every host target.
add_library(quorvex_host_flags INTERFACE)
target_compile_options(quorvex_host_flags INTERFACE -Wall -Wextra -Werror)
target_include_directories(quorvex_host_flags INTERFACE ${QUORVEX_SOURCE_DIR} ${GEN})
if(QUORVEX_SANITIZE)
  target_compile_options(quorvex_host_flags INTERFACE -fsanitize=address,undefined
                         -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  target_link_options(quorvex_host_flags INTERFACE -fsanitize=address,undefined)
  target_compile_definitions(quorvex_host_flags INTERFACE QUORVEX_ASAN=1)
endif()

# Firmware-side code keeps the freestanding rules on the host too.
add_library(quorvex_firmware_flags INTERFACE)
# __FILE__ in firmware code (the allocation trace) is relative to the
# repository, as in the UEFI images; tests keep absolute paths.
target_compile_options(quorvex_firmware_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
  -fmacro-prefix-map=${QUORVEX_SOURCE_DIR}/=)
target_compile_definitions(quorvex_firmware_flags INTERFACE
  QUORVEX_ALLOCATION_TRACE=$<BOOL:${QUORVEX_ALLOCATION_TRACE}>)

# ---------------------------------------------------------------------------
# Generators
# ---------------------------------------------------------------------------
add_custom_command(
  OUTPUT ${GEN}/setup_data/text_entries.h ${GEN}/setup_data/text_constants.h
         ${GEN}/text_table_data.cpp
  COMMAND ${QUORVEX_PYTHON} ${QUORVEX_SOURCE_DIR}/tools/gen_texts.py --out-dir ${GEN}
          ${QUORVEX_TEXT_FILES}
  DEPENDS ${QUORVEX_SOURCE_DIR}/tools/gen_texts.py ${QUORVEX_TEXT_FILES}
  COMMENT "Generating the text table"
  VERBATIM)

add_custom_command(
  OUTPUT ${GEN}/assets_data.cpp ${GEN}/assets_data.h
  COMMAND ${QUORVEX_PYTHON} ${QUORVEX_SOURCE_DIR}/tools/bin2cpp.py --out-dir ${GEN}
          ${QUORVEX_PICTURE_FILES}
  DEPENDS ${QUORVEX_SOURCE_DIR}/tools/bin2cpp.py ${QUORVEX_PICTURE_FILES}
  COMMENT "Embedding the pictures"
  VERBATIM)

# A native build tool: no sanitizers, its output is what matters.
add_executable(font_raster ${QUORVEX_SOURCE_DIR}/tools/font_raster.cpp)
target_include_directories(font_raster PRIVATE ${QUORVEX_SOURCE_DIR} ${GEN})
target_compile_options(font_raster PRIVATE -Wall -Wextra -Werror)
target_link_libraries(font_raster PRIVATE m)
add_custom_command(
  OUTPUT ${GEN}/font_data.cpp
  COMMAND font_raster --out ${GEN}/font_data.cpp --texts ${QUORVEX_TEXT_FILES}
          --extra ${QUORVEX_SOURCE_DIR}/tools/fixed_strings.txt
  DEPENDS font_raster ${QUORVEX_TEXT_FILES} ${QUORVEX_SOURCE_DIR}/tools/fixed_strings.txt
  COMMENT "Rasterising the fonts"
  VERBATIM)

# font_preview: draws sample lines with the embedded fonts into a PNG, for
# judging the rasterised glyphs by eye (ninja -C build/host font_preview).
add_executable(font_preview EXCLUDE_FROM_ALL ${QUORVEX_SOURCE_DIR}/tools/font_preview.cpp
               ${GEN}/font_data.cpp)
target_include_directories(font_preview PRIVATE ${QUORVEX_SOURCE_DIR} ${GEN})
target_compile_options(font_preview PRIVATE -Wall -Wextra -Werror)

set(generated_outputs ${GEN}/setup_data/text_entries.h ${GEN}/setup_data/text_constants.h
    ${GEN}/text_table_data.cpp
    ${GEN}/assets_data.cpp ${GEN}/assets_data.h ${GEN}/font_data.cpp)
add_custom_target(quorvex_generated ALL DEPENDS ${generated_outputs})

quorvex_prefix(gen_utility ${GEN} ${QUORVEX_GENERATED_UTILITY_SOURCES})
quorvex_prefix(gen_reference ${GEN} ${QUORVEX_GENERATED_REFERENCE_SOURCES})

# ---------------------------------------------------------------------------
# Libraries
# ---------------------------------------------------------------------------
set(QUORVEX_HOST_LIBRARIES)

add_library(quorvex_platform_lib STATIC ${QUORVEX_PLATFORM_LIB_SOURCES})
# The freestanding flags stay PRIVATE: host code and tests linking these
# libraries keep exceptions and the standard library.
target_link_libraries(quorvex_platform_lib PUBLIC quorvex_host_flags
                      PRIVATE quorvex_firmware_flags)
add_dependencies(quorvex_platform_lib quorvex_generated)

set(utility_sources ${QUORVEX_UTILITY_SOURCES} ${gen_utility})
if(utility_sources)
  add_library(quorvex_utility STATIC ${utility_sources})
  target_link_libraries(quorvex_utility PUBLIC quorvex_platform_lib PRIVATE quorvex_firmware_flags)
  add_dependencies(quorvex_utility quorvex_generated)
  list(APPEND QUORVEX_HOST_LIBRARIES quorvex_utility)
endif()

set(reference_sources ${QUORVEX_REFERENCE_SOURCES} ${gen_reference})
if(reference_sources)
  add_library(quorvex_reference STATIC ${reference_sources})
  target_link_libraries(quorvex_reference PUBLIC quorvex_platform_lib
                        PRIVATE quorvex_firmware_flags)
  add_dependencies(quorvex_reference quorvex_generated)
  list(APPEND QUORVEX_HOST_LIBRARIES quorvex_reference)
endif()

if(QUORVEX_FIRMWARE_SOURCES AND TARGET quorvex_utility AND TARGET quorvex_reference)
  add_library(quorvex_firmware_entry STATIC ${QUORVEX_FIRMWARE_SOURCES})
  target_link_libraries(quorvex_firmware_entry PUBLIC quorvex_platform_lib
                        PRIVATE quorvex_firmware_flags)
  add_dependencies(quorvex_firmware_entry quorvex_generated)
  list(APPEND QUORVEX_HOST_LIBRARIES quorvex_firmware_entry)
endif()

# The simulator: host/*.cpp. The file holding main() makes the executable; the
# rest (the fake firmware) is a library the unit tests can use too.
set(host_main)
set(host_rest)
foreach(f IN LISTS QUORVEX_HOST_SOURCES)
  file(STRINGS ${f} main_lines REGEX "^int main\\(")
  if(main_lines)
    list(APPEND host_main ${f})
  else()
    list(APPEND host_rest ${f})
  endif()
endforeach()

find_package(SDL2 QUIET)
set(host_link ${QUORVEX_HOST_LIBRARIES})
if(host_rest)
  add_library(quorvex_host STATIC ${host_rest})
  # The fake firmware calls into the utility and the reference platform, and
  # they call back into it: a link group resolves the cycle.
  target_link_libraries(quorvex_host PUBLIC quorvex_host_flags)
  if(SDL2_FOUND)
    target_link_libraries(quorvex_host PUBLIC SDL2::SDL2)
    target_compile_definitions(quorvex_host PUBLIC QUORVEX_HAVE_SDL2=1)
  endif()
  add_dependencies(quorvex_host quorvex_generated)
  set(host_link quorvex_host ${QUORVEX_HOST_LIBRARIES})
endif()
set(host_link_group "$<LINK_GROUP:RESCAN,${host_link}>")
string(REPLACE ";" "," host_link_group "${host_link_group}")

if(host_main)
  add_executable(quorvex-sim ${host_main})
  set_target_properties(quorvex-sim PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
  target_link_libraries(quorvex-sim PRIVATE quorvex_host_flags ${host_link_group} quorvex_platform_lib)
  if(SDL2_FOUND)
    target_link_libraries(quorvex-sim PRIVATE SDL2::SDL2)
  endif()
else()
  message(STATUS "Simulator not built yet: no host/*.cpp with main()")
endif()

# ---------------------------------------------------------------------------
# Unit tests
# ---------------------------------------------------------------------------
find_package(GTest REQUIRED)
if(QUORVEX_UNIT_TEST_SOURCES)
  add_executable(quorvex-unit-tests ${QUORVEX_UNIT_TEST_SOURCES})
  target_link_libraries(quorvex-unit-tests PRIVATE quorvex_host_flags ${host_link_group}
                        quorvex_platform_lib GTest::gtest GTest::gtest_main)
  if(SDL2_FOUND)
    target_link_libraries(quorvex-unit-tests PRIVATE SDL2::SDL2)
  endif()
  # The pool wrappers with the allocation trace compiled in, so the trace
  # itself is tested; they take the place of the untraced ones in the library.
  if(TARGET quorvex_utility)
    add_library(quorvex_pool_traced OBJECT ${QUORVEX_SOURCE_DIR}/platform/lib_pool.cpp)
    target_link_libraries(quorvex_pool_traced PRIVATE quorvex_host_flags)
    target_compile_options(quorvex_pool_traced PRIVATE -fno-exceptions -fno-rtti)
    target_compile_definitions(quorvex_pool_traced PRIVATE QUORVEX_ALLOCATION_TRACE=1)
    add_dependencies(quorvex_pool_traced quorvex_generated)
    target_sources(quorvex-unit-tests PRIVATE $<TARGET_OBJECTS:quorvex_pool_traced>)
    target_compile_definitions(quorvex-unit-tests PRIVATE QUORVEX_POOL_TRACE_LINKED=1)
  endif()
  add_test(NAME unit-tests COMMAND quorvex-unit-tests --gtest_brief=1)
  set_tests_properties(unit-tests PROPERTIES TIMEOUT 600 LABELS unit)
endif()

# Scenario tests (tests/scenarios) run the simulator.
if(TARGET quorvex-sim)
  add_test(NAME scenarios
           COMMAND ${QUORVEX_PYTHON} ${QUORVEX_SOURCE_DIR}/tests/scenarios/run_scenarios.py
                   --sim $<TARGET_FILE:quorvex-sim> --out ${CMAKE_BINARY_DIR}/scenario-out)
  set_tests_properties(scenarios PROPERTIES TIMEOUT 900 LABELS scenarios)
endif()

# Tests of the build-time generators (tests/tools/test_*.py, Python unittest).
file(GLOB tool_tests CONFIGURE_DEPENDS ${QUORVEX_SOURCE_DIR}/tests/tools/test_*.py)
if(tool_tests)
  add_test(NAME tools
           COMMAND ${QUORVEX_PYTHON} -m unittest discover -s ${QUORVEX_SOURCE_DIR}/tests/tools
                   -p "test_*.py")
  set_tests_properties(tools PROPERTIES TIMEOUT 600 LABELS tools)
endif()

# Robustness runs of the simulator (tests/robust): seeded random sessions,
# an allocation failure at every allocation of scripted sessions, and hostile
# setup data service answers.
if(TARGET quorvex-sim)
  set(QUORVEX_RANDOM_SESSION_SECONDS 60 CACHE STRING "Seconds of random simulator sessions")
  add_test(NAME random-sessions
           COMMAND ${QUORVEX_PYTHON} ${QUORVEX_SOURCE_DIR}/tests/robust/random_sessions.py
                   --sim $<TARGET_FILE:quorvex-sim> --budget ${QUORVEX_RANDOM_SESSION_SECONDS})
  set_tests_properties(random-sessions PROPERTIES TIMEOUT 600 LABELS robust)
  foreach(driver alloc_failure hostile_service)
    string(REPLACE "_" "-" name ${driver})
    add_test(NAME ${name}
             COMMAND ${QUORVEX_PYTHON} ${QUORVEX_SOURCE_DIR}/tests/robust/${driver}.py
                     --sim $<TARGET_FILE:quorvex-sim> --out ${CMAKE_BINARY_DIR}/robust-out)
    set_tests_properties(${name} PROPERTIES TIMEOUT 900 LABELS robust)
  endforeach()
endif()
