# The UEFI tree: QuorvexSetup.efi and QuorvexPlatform.efi, cross-compiled with
# clang and linked with lld-link. The generated sources come from the host
# tree (QUORVEX_GENERATED_DIR), which the Makefile builds first.
set(QUORVEX_GENERATED_DIR ${QUORVEX_SOURCE_DIR}/build/host/generated
    CACHE PATH "Generated sources made by the host tree")
set(QUORVEX_ESP_DIR ${QUORVEX_SOURCE_DIR}/build/esp CACHE PATH "EFI system partition directory")
set(GEN ${QUORVEX_GENERATED_DIR})

# The linker rule: lld-link straight from the objects, no C runtime.
set(CMAKE_CXX_LINK_EXECUTABLE
    "<CMAKE_LINKER> /nologo /subsystem:efi_application /nodefaultlib /machine:x64 /opt:ref /opt:icf <LINK_FLAGS> <OBJECTS> <LINK_LIBRARIES> /out:<TARGET>")
set(CMAKE_EXECUTABLE_SUFFIX .efi)

# stb headers without the rest of the host's /usr/include.
set(stb_dir ${CMAKE_BINARY_DIR}/stb_include)
file(MAKE_DIRECTORY ${stb_dir})
if(EXISTS /usr/include/stb AND NOT EXISTS ${stb_dir}/stb)
  file(CREATE_LINK /usr/include/stb ${stb_dir}/stb SYMBOLIC)
endif()

add_library(quorvex_uefi_flags INTERFACE)
target_compile_options(quorvex_uefi_flags INTERFACE
  --target=x86_64-unknown-windows
  -ffreestanding -fno-stack-protector -mno-red-zone -mno-stack-arg-probe -fshort-wchar
  -ffunction-sections -fdata-sections -O2
  -Wall -Wextra -Werror -Wframe-larger-than=32768
  # __FILE__ (allocation trace) names sources relative to the repository.
  -fmacro-prefix-map=${QUORVEX_SOURCE_DIR}/=
  $<$<COMPILE_LANGUAGE:CXX>:-std=c++20 -fno-exceptions -fno-rtti -fno-threadsafe-statics>)
target_include_directories(quorvex_uefi_flags INTERFACE ${QUORVEX_SOURCE_DIR} ${GEN})
target_include_directories(quorvex_uefi_flags SYSTEM INTERFACE ${stb_dir})

quorvex_prefix(gen_utility ${GEN} ${QUORVEX_GENERATED_UTILITY_SOURCES})
quorvex_prefix(gen_reference ${GEN} ${QUORVEX_GENERATED_REFERENCE_SOURCES})
set_source_files_properties(${gen_utility} ${gen_reference} PROPERTIES GENERATED TRUE)

# The platform library, compiled once per image: the setup utility's copy
# carries the allocation trace switch, the reference platform's never traces
# (it has no debug trace binding of its own).
add_library(quorvex_platform_lib_setup OBJECT ${QUORVEX_PLATFORM_LIB_SOURCES})
target_link_libraries(quorvex_platform_lib_setup PUBLIC quorvex_uefi_flags)
target_compile_definitions(quorvex_platform_lib_setup PRIVATE
  QUORVEX_ALLOCATION_TRACE=$<BOOL:${QUORVEX_ALLOCATION_TRACE}>)
add_library(quorvex_platform_lib_reference OBJECT ${QUORVEX_PLATFORM_LIB_SOURCES})
target_link_libraries(quorvex_platform_lib_reference PUBLIC quorvex_uefi_flags)

set(images)
set(setup_sources ${QUORVEX_UTILITY_SOURCES} ${gen_utility})
if(setup_sources)
  add_library(quorvex_utility_objects OBJECT ${setup_sources})
  target_link_libraries(quorvex_utility_objects PUBLIC quorvex_uefi_flags)
  target_compile_definitions(quorvex_utility_objects PRIVATE
    QUORVEX_ALLOCATION_TRACE=$<BOOL:${QUORVEX_ALLOCATION_TRACE}>)
  add_executable(QuorvexSetup)
  target_link_libraries(QuorvexSetup PRIVATE quorvex_utility_objects quorvex_platform_lib_setup)
  set_target_properties(QuorvexSetup PROPERTIES LINK_FLAGS "/entry:_ModuleEntryPoint")
  list(APPEND images QuorvexSetup)
endif()

set(reference_sources ${QUORVEX_REFERENCE_SOURCES} ${gen_reference})
if(reference_sources)
  add_library(quorvex_reference_objects OBJECT ${reference_sources})
  target_link_libraries(quorvex_reference_objects PUBLIC quorvex_uefi_flags)
  if(EXISTS ${QUORVEX_SOURCE_DIR}/reference_platform/freestanding)
    # The C headers stb_image.h asks for, in freestanding form.
    target_include_directories(quorvex_reference_objects SYSTEM BEFORE PRIVATE
                               ${QUORVEX_SOURCE_DIR}/reference_platform/freestanding)
  endif()
  add_executable(QuorvexPlatform)
  target_link_libraries(QuorvexPlatform PRIVATE quorvex_reference_objects
                        quorvex_platform_lib_reference)
  set_target_properties(QuorvexPlatform PROPERTIES LINK_FLAGS "/entry:QuorvexPlatform_EntryPoint")
  list(APPEND images QuorvexPlatform)
  # The power-on password driver of the firmware image: the same platform
  # code, started by the DXE dispatcher instead of the boot manager.
  add_executable(QuorvexPowerOn)
  target_link_libraries(QuorvexPowerOn PRIVATE quorvex_reference_objects
                        quorvex_platform_lib_reference)
  set_target_properties(QuorvexPowerOn PROPERTIES LINK_FLAGS
                        "/entry:QuorvexPowerOn_EntryPoint /subsystem:efi_boot_service_driver")
  list(APPEND images QuorvexPowerOn)
endif()

# The setup image inside the firmware: the reference platform and the utility
# linked into one application, started by the platform's own set-up routine.
if(QUORVEX_FIRMWARE_SOURCES AND TARGET quorvex_utility_objects AND TARGET quorvex_reference_objects)
  add_library(quorvex_firmware_objects OBJECT ${QUORVEX_FIRMWARE_SOURCES})
  target_link_libraries(quorvex_firmware_objects PUBLIC quorvex_uefi_flags)
  add_executable(QuorvexFirmwareSetup)
  target_link_libraries(QuorvexFirmwareSetup PRIVATE quorvex_firmware_objects
                        quorvex_utility_objects quorvex_reference_objects quorvex_platform_lib_setup)
  set_target_properties(QuorvexFirmwareSetup PROPERTIES LINK_FLAGS "/entry:QuorvexFirmware_EntryPoint")
  list(APPEND images QuorvexFirmwareSetup)
endif()

# Lays out an EFI system partition in Dir: Boot as the removable-media boot
# file, each further image next to it under its own name.
function(quorvex_lay_out_esp Target Dir Boot)
  set(commands COMMAND ${CMAKE_COMMAND} -E make_directory ${Dir}/EFI/BOOT
      COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:${Boot}> ${Dir}/EFI/BOOT/BOOTX64.EFI)
  foreach(image IN LISTS ARGN)
    list(APPEND commands COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:${image}>
         ${Dir}/${image}.efi)
  endforeach()
  add_custom_target(${Target} ALL ${commands} DEPENDS ${Boot} ${ARGN} COMMENT "Laying out ${Dir}"
                    VERBATIM)
endfunction()

# The EFI system partition: the launcher as the removable-media boot file and
# the utility next to it.
if(TARGET QuorvexSetup AND TARGET QuorvexPlatform)
  quorvex_lay_out_esp(esp ${QUORVEX_ESP_DIR} QuorvexPlatform QuorvexSetup)
endif()

# The firmware image (make firmware; not part of ALL: it needs Debian's OVMF):
# Debian's OVMF with its front page replaced by QuorvexFirmwareSetup.efi.
#   1. the inner image is laid out as ${QUORVEX_FIRMWARE_DIR}/QuorvexFirmwareSetup.efi;
#      a step that changes the image before it goes into the firmware (signing)
#      adds its COMMAND there, after the copy;
#   2. tools/make_firmware.py puts that file into the firmware volume.
set(QUORVEX_FIRMWARE_DIR ${QUORVEX_SOURCE_DIR}/build/firmware CACHE PATH "Firmware image directory")
set(QUORVEX_OVMF_CODE /usr/share/OVMF/OVMF_CODE_4M.fd CACHE FILEPATH "Firmware image to start from")
set(QUORVEX_OVMF_VARS /usr/share/OVMF/OVMF_VARS_4M.fd CACHE FILEPATH "Its variable store")
# The power-on driver's file name in the volume (a GUID of its own).
set(QUORVEX_POWER_ON_DRIVER_GUID 6FDB1405-F188-48EE-8DFA-8A37B0965877)
if(TARGET QuorvexFirmwareSetup AND TARGET QuorvexPowerOn)
  find_program(QUORVEX_PYTHON NAMES python3 REQUIRED)
  set(firmware_app ${QUORVEX_FIRMWARE_DIR}/QuorvexFirmwareSetup.efi)
  # make firmware SIGN_KEY=... SIGN_CERT=... sets these: the image is signed
  # (scripts/sign-efi) before it goes into the firmware.
  set(QUORVEX_SIGN_KEY "" CACHE STRING "Private key that signs the firmware's setup image")
  set(QUORVEX_SIGN_CERT "" CACHE STRING "Its certificate")
  set(sign_step)
  if(QUORVEX_SIGN_KEY OR QUORVEX_SIGN_CERT)
    set(sign_step COMMAND ${QUORVEX_SOURCE_DIR}/scripts/sign-efi --key ${QUORVEX_SIGN_KEY}
                  --cert ${QUORVEX_SIGN_CERT} ${firmware_app})
  endif()
  add_custom_command(OUTPUT ${firmware_app}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${QUORVEX_FIRMWARE_DIR}
    COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:QuorvexFirmwareSetup> ${firmware_app}
    ${sign_step}
    DEPENDS QuorvexFirmwareSetup
    COMMENT "Laying out the firmware's setup image"
    VERBATIM)
  file(GLOB fv_tool CONFIGURE_DEPENDS ${QUORVEX_SOURCE_DIR}/tools/fv/*.py)
  # The power-on password driver goes into the same volume; it waits for
  # the variable services (it reads the store when the boot starts).
  set(power_on_driver ${QUORVEX_FIRMWARE_DIR}/QuorvexPowerOn.efi)
  add_custom_command(OUTPUT ${power_on_driver}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${QUORVEX_FIRMWARE_DIR}
    COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:QuorvexPowerOn> ${power_on_driver}
    DEPENDS QuorvexPowerOn
    COMMENT "Laying out the firmware's power-on password driver"
    VERBATIM)
  add_custom_command(OUTPUT ${QUORVEX_FIRMWARE_DIR}/QUORVEX_CODE.fd
    COMMAND ${QUORVEX_PYTHON} ${QUORVEX_SOURCE_DIR}/tools/make_firmware.py
            --code ${QUORVEX_OVMF_CODE} --app ${firmware_app}
            --add-driver ${QUORVEX_POWER_ON_DRIVER_GUID}=${power_on_driver}
            --driver-needs 1E5668E2-8481-11D4-BCF1-0080C73C8881
            --driver-needs 6441F818-6362-4E44-B570-7DBA31DD2453
            --out ${QUORVEX_FIRMWARE_DIR}/QUORVEX_CODE.fd
            --vars ${QUORVEX_OVMF_VARS} --out-vars ${QUORVEX_FIRMWARE_DIR}/QUORVEX_VARS.fd
    DEPENDS ${firmware_app} ${power_on_driver} ${QUORVEX_OVMF_CODE}
            ${QUORVEX_SOURCE_DIR}/tools/make_firmware.py ${fv_tool}
    COMMENT "Building the firmware image"
    VERBATIM)
  add_custom_target(firmware DEPENDS ${QUORVEX_FIRMWARE_DIR}/QUORVEX_CODE.fd)
endif()

# The key-latency benchmark's yardstick: a trivial application on an ESP of
# its own, so that it never changes how the utility's ESP boots.
set(QUORVEX_LATENCY_ESP_DIR ${CMAKE_BINARY_DIR}/latency_esp
    CACHE PATH "EFI system partition directory of the latency benchmark's application")
add_library(quorvex_latency_app_objects OBJECT
            ${QUORVEX_SOURCE_DIR}/tools/bench/latency_app/latency_app.cpp)
target_link_libraries(quorvex_latency_app_objects PUBLIC quorvex_uefi_flags)
add_executable(LatencyApp)
target_link_libraries(LatencyApp PRIVATE quorvex_latency_app_objects)
set_target_properties(LatencyApp PROPERTIES LINK_FLAGS "/entry:LatencyAppMain")
list(APPEND images LatencyApp)
quorvex_lay_out_esp(latency_esp ${QUORVEX_LATENCY_ESP_DIR} LatencyApp)

# The end-to-end watchdog test's ESP: a boot file that arms the watchdog to a
# short time and starts the launcher, next to the launcher and the utility.
set(QUORVEX_WATCHDOG_ESP_DIR ${CMAKE_BINARY_DIR}/watchdog_esp
    CACHE PATH "EFI system partition directory of the watchdog end-to-end test")
add_library(quorvex_watchdog_chain_objects OBJECT
            ${QUORVEX_SOURCE_DIR}/tests/e2e/watchdog_chain/watchdog_chain.cpp)
target_link_libraries(quorvex_watchdog_chain_objects PUBLIC quorvex_uefi_flags)
add_executable(WatchdogChain)
target_link_libraries(WatchdogChain PRIVATE quorvex_watchdog_chain_objects)
set_target_properties(WatchdogChain PROPERTIES LINK_FLAGS "/entry:WatchdogChainMain")
list(APPEND images WatchdogChain)
if(TARGET QuorvexSetup AND TARGET QuorvexPlatform)
  quorvex_lay_out_esp(watchdog_esp ${QUORVEX_WATCHDOG_ESP_DIR} WatchdogChain QuorvexPlatform
                      QuorvexSetup)
endif()

# Image checks: no global constructors in any object, no imports, the right
# subsystem; prints the sizes.
find_program(QUORVEX_PYTHON NAMES python3 REQUIRED)
find_program(QUORVEX_LLVM_OBJDUMP NAMES llvm-objdump-14 llvm-objdump REQUIRED)
find_program(QUORVEX_LLVM_READOBJ NAMES llvm-readobj-14 llvm-readobj REQUIRED)
foreach(image IN LISTS images)
  if(image STREQUAL QuorvexSetup)
    set(objects quorvex_utility_objects quorvex_platform_lib_setup)
  elseif(image STREQUAL LatencyApp)
    set(objects quorvex_latency_app_objects)
  elseif(image STREQUAL WatchdogChain)
    set(objects quorvex_watchdog_chain_objects)
  elseif(image STREQUAL QuorvexFirmwareSetup)
    set(objects quorvex_firmware_objects quorvex_utility_objects quorvex_reference_objects
                quorvex_platform_lib_setup)
  else()
    set(objects quorvex_reference_objects quorvex_platform_lib_reference)
  endif()
  set(object_args)
  if(image STREQUAL QuorvexPowerOn)
    set(object_args --driver)
  endif()
  foreach(o IN LISTS objects)
    list(APPEND object_args "$<TARGET_OBJECTS:${o}>")
  endforeach()
  add_test(NAME image-check-${image}
           COMMAND ${QUORVEX_PYTHON} ${QUORVEX_SOURCE_DIR}/scripts/check_image.py
                   --objdump ${QUORVEX_LLVM_OBJDUMP} --readobj ${QUORVEX_LLVM_READOBJ}
                   --image $<TARGET_FILE:${image}> ${object_args})
  set_tests_properties(image-check-${image} PROPERTIES LABELS image TIMEOUT 120)
endforeach()

# The end-to-end tests boot build/esp (or the firmware image) in QEMU, one at
# a time: one ctest test per file, each with its own time limit and report.
if(TARGET esp)
  file(GLOB e2e_files CONFIGURE_DEPENDS ${QUORVEX_SOURCE_DIR}/tests/e2e/*_test.py)
  list(SORT e2e_files)
  foreach(file IN LISTS e2e_files)
    get_filename_component(name ${file} NAME_WE)
    add_test(NAME e2e-${name}
             COMMAND ${QUORVEX_PYTHON} -m unittest discover -s ${QUORVEX_SOURCE_DIR}/tests/e2e
                     -p "${name}.py" -v)
    set_tests_properties(e2e-${name} PROPERTIES LABELS e2e TIMEOUT 900 RUN_SERIAL TRUE
                         ENVIRONMENT "QUORVEX_ESP=${QUORVEX_ESP_DIR};QUORVEX_BUILD=${CMAKE_BINARY_DIR};QUORVEX_FIRMWARE=${QUORVEX_FIRMWARE_DIR}")
  endforeach()
  # Power cuts during a save: ten QEMU kills at random moments of F10, Yes.
  add_test(NAME power-cuts
           COMMAND ${QUORVEX_PYTHON} ${QUORVEX_SOURCE_DIR}/tests/e2e/power_cut.py --cuts 10)
  set_tests_properties(power-cuts PROPERTIES LABELS e2e TIMEOUT 1500 RUN_SERIAL TRUE
                       ENVIRONMENT "QUORVEX_ESP=${QUORVEX_ESP_DIR}")
endif()
