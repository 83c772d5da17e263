# Source lists shared by both trees. Every directory is globbed, so a new file
# is picked up by the next build without editing CMake.

# quorvex_glob(<out-var> <dir>...): the .cpp files of the given directories.
function(quorvex_glob out)
  set(files)
  foreach(dir IN LISTS ARGN)
    file(GLOB found CONFIGURE_DEPENDS ${QUORVEX_SOURCE_DIR}/${dir}/*.cpp)
    list(APPEND files ${found})
  endforeach()
  list(SORT files)
  set(${out} ${files} PARENT_SCOPE)
endfunction()

quorvex_glob(QUORVEX_UTILITY_SOURCES core setup_data graphics input pages assets)
quorvex_glob(QUORVEX_PLATFORM_LIB_SOURCES platform)
file(GLOB QUORVEX_PLATFORM_LIB_ASM CONFIGURE_DEPENDS ${QUORVEX_SOURCE_DIR}/platform/*.S)
list(APPEND QUORVEX_PLATFORM_LIB_SOURCES ${QUORVEX_PLATFORM_LIB_ASM})
quorvex_glob(QUORVEX_REFERENCE_SOURCES reference_platform)
# The setup image inside the firmware: platform and utility in one image.
quorvex_glob(QUORVEX_FIRMWARE_SOURCES firmware)
quorvex_glob(QUORVEX_HOST_SOURCES host)
quorvex_glob(QUORVEX_UNIT_TEST_SOURCES tests/unit)

file(GLOB QUORVEX_TEXT_FILES CONFIGURE_DEPENDS ${QUORVEX_SOURCE_DIR}/setup_data/texts/*.txt)
list(SORT QUORVEX_TEXT_FILES)
file(GLOB QUORVEX_PICTURE_FILES CONFIGURE_DEPENDS ${QUORVEX_SOURCE_DIR}/assets/*.png
     ${QUORVEX_SOURCE_DIR}/assets/*.jpg)
list(SORT QUORVEX_PICTURE_FILES)

# The generated sources, relative to a generated directory: the host tree
# makes them; the UEFI and fuzz trees compile the same files from the host
# tree's directory.
set(QUORVEX_GENERATED_UTILITY_SOURCES text_table_data.cpp assets_data.cpp)
set(QUORVEX_GENERATED_REFERENCE_SOURCES font_data.cpp)

# quorvex_prefix(<out-var> <dir> <files>...)
function(quorvex_prefix out dir)
  set(result)
  foreach(f IN LISTS ARGN)
    list(APPEND result ${dir}/${f})
  endforeach()
  set(${out} ${result} PARENT_SCOPE)
endfunction()
