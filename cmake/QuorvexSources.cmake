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

# quorvex_exists(<out-var> <relative path>): TRUE when the file exists; the
# check is repeated at every build, so a generator added later is picked up.
function(quorvex_exists out path)
  # A one-character bracket turns the path into a pattern for the glob.
  string(REGEX REPLACE "(.)$" "[\\1]" pattern "${path}")
  file(GLOB found CONFIGURE_DEPENDS ${QUORVEX_SOURCE_DIR}/${pattern})
  if(found)
    set(${out} TRUE PARENT_SCOPE)
  else()
    set(${out} FALSE PARENT_SCOPE)
  endif()
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

quorvex_exists(QUORVEX_HAVE_GEN_TEXTS tools/gen_texts.py)
quorvex_exists(QUORVEX_HAVE_FONT_RASTER tools/font_raster.cpp)
quorvex_exists(QUORVEX_HAVE_FIXED_STRINGS tools/fixed_strings.txt)

# Which generated sources exist in this configuration. The host tree makes
# them; the UEFI tree compiles the same files from the host tree's directory.
set(QUORVEX_GENERATE_TEXTS FALSE)
if(QUORVEX_HAVE_GEN_TEXTS AND QUORVEX_TEXT_FILES)
  set(QUORVEX_GENERATE_TEXTS TRUE)
else()
  message(STATUS "Text table not generated yet: needs tools/gen_texts.py and setup_data/texts/*.txt")
endif()
set(QUORVEX_GENERATE_PICTURES FALSE)
if(QUORVEX_PICTURE_FILES)
  set(QUORVEX_GENERATE_PICTURES TRUE)
else()
  message(STATUS "Pictures not embedded yet: no assets/*.png or assets/*.jpg")
endif()
set(QUORVEX_GENERATE_FONTS FALSE)
if(QUORVEX_HAVE_FONT_RASTER AND QUORVEX_TEXT_FILES)
  set(QUORVEX_GENERATE_FONTS TRUE)
else()
  message(STATUS "Fonts not rasterised yet: needs tools/font_raster.cpp and setup_data/texts/*.txt")
endif()

# The generated sources, relative to a generated directory.
set(QUORVEX_GENERATED_UTILITY_SOURCES)
set(QUORVEX_GENERATED_REFERENCE_SOURCES)
if(QUORVEX_GENERATE_TEXTS)
  list(APPEND QUORVEX_GENERATED_UTILITY_SOURCES text_table_data.cpp)
endif()
if(QUORVEX_GENERATE_PICTURES)
  list(APPEND QUORVEX_GENERATED_UTILITY_SOURCES assets_data.cpp)
endif()
if(QUORVEX_GENERATE_FONTS)
  list(APPEND QUORVEX_GENERATED_REFERENCE_SOURCES font_data.cpp)
endif()

# quorvex_prefix(<out-var> <dir> <files>...)
function(quorvex_prefix out dir)
  set(result)
  foreach(f IN LISTS ARGN)
    list(APPEND result ${dir}/${f})
  endforeach()
  set(${out} ${result} PARENT_SCOPE)
endfunction()

# Until the text generator exists, an empty text_entries.h lets the rest of
# the tree compile (text_table.h includes it).
function(quorvex_placeholder_text_header dir)
  if(NOT QUORVEX_GENERATE_TEXTS AND NOT EXISTS ${dir}/setup_data/text_entries.h)
    file(WRITE ${dir}/setup_data/text_entries.h
         "// Placeholder: the text generator has not run yet.\n#pragma once\n")
  endif()
endfunction()
