# Quorvex Setup: the commands people type. CMake does the work in two trees:
# build/host (g++: simulator, unit tests, build-time generators) and
# build/uefi (clang cross build: the UEFI images, build/esp).
#
#   make build                 everything: UEFI images, build/esp, simulator, tests
#   make esp                   build/esp (EFI/BOOT/BOOTX64.EFI + QuorvexSetup.efi)
#   make esp SIGN_KEY=k.pem SIGN_CERT=c.pem
#                              the same, every image signed for Secure Boot (sbsign)
#                              and checked (sbverify); also for make image and
#                              make firmware (its setup image)
#   make image                 build/quorvex.img: a GPT disk image holding the ESP
#                              (boots in QEMU as a disk; can be written to a USB stick)
#   make firmware              build/firmware/QUORVEX_CODE.fd + QUORVEX_VARS.fd: Debian's
#                              OVMF whose setup (F2 or Esc at power-on) is Quorvex
#   make run [SCREENSHOT=f]    boot build/quorvex.img (the ESP on a FAT disk, as make image
#                              makes it) in QEMU (window, or VNC without a display); when
#                              QEMU stops, the pictures F12 saved are copied to
#                              build/screenshots/; with SCREENSHOT: headless, write the
#                              screen once drawn, stop; MOUSE=1 adds a USB mouse,
#                              FIRMWARE=1 boots the firmware image with no disk
#   make sim                   the utility in a desktop window (build/host/quorvex-sim)
#   make test                  unit, scenario, fuzz (briefly), image and end-to-end tests
#   make fuzz [FUZZ_SECONDS=N] every libFuzzer target for N seconds (default 60)
#   make power-cuts [POWER_CUTS=N]  QEMU killed N times during a save (default 10)
#   make bench [NO_QEMU=1]     instructions, screen traffic and pool peak per
#                              interaction (optimised build in build/bench, callgrind),
#                              a tab move's key latency in QEMU against a trivial
#                              UEFI application, and the idle host CPU of the setup
#                              against OVMF's front page (both not with NO_QEMU)
#
# Every command first installs the Debian packages it needs (scripts/deps).

ROOT      := $(CURDIR)
HOST_DIR  := $(ROOT)/build/host
UEFI_DIR  := $(ROOT)/build/uefi
FUZZ_DIR  := $(ROOT)/build/fuzz
FUZZ_SECONDS ?= 60
POWER_CUTS ?= 10
ESP_DIR   := $(ROOT)/build/esp
IMAGE_FILE := $(ROOT)/build/quorvex.img
FIRMWARE_DIR := $(ROOT)/build/firmware
JOBS      ?= $(shell nproc)
CMAKE_ARGS ?=

# The trees are built by one ninja each; make itself runs the steps in order.
.NOTPARALLEL:

.PHONY: build host host-configure generated uefi esp image firmware run sim test unit-test e2e sizes clean \
	fuzz-build fuzz power-cuts bench

build: host esp sizes

host-configure:
	@$(ROOT)/scripts/deps build
	@test -f $(HOST_DIR)/build.ninja || \
	  cmake -S $(ROOT) -B $(HOST_DIR) -G Ninja $(CMAKE_ARGS)

# Everything in the host tree: simulator, unit tests, tools.
host: host-configure
	@cmake --build $(HOST_DIR) -j $(JOBS)

# Only the generated sources (texts, pictures, fonts) the UEFI tree compiles.
generated: host-configure
	@cmake --build $(HOST_DIR) -j $(JOBS) --target quorvex_generated

uefi: generated
	@test -f $(UEFI_DIR)/build.ninja || \
	  cmake -S $(ROOT) -B $(UEFI_DIR) -G Ninja \
	    -DCMAKE_TOOLCHAIN_FILE=$(ROOT)/cmake/uefi-toolchain.cmake \
	    -DQUORVEX_GENERATED_DIR=$(HOST_DIR)/generated \
	    -DQUORVEX_ESP_DIR=$(ESP_DIR) $(CMAKE_ARGS)
	@cmake --build $(UEFI_DIR) -j $(JOBS)

# With SIGN_KEY and SIGN_CERT every image laid out is signed and verified
# (scripts/sign-efi, the one signing step of every target that lays out images).
esp: uefi
	@$(if $(SIGN_KEY)$(SIGN_CERT),$(ROOT)/scripts/sign-efi --key "$(SIGN_KEY)" --cert "$(SIGN_CERT)" $(ESP_DIR))

image: esp
	@$(ROOT)/scripts/deps run
	@python3 $(ROOT)/scripts/make_image.py --esp $(ESP_DIR) --out $(IMAGE_FILE)

# The setup image goes through its own layout step in the UEFI tree (the place
# to sign it) before tools/make_firmware.py builds the firmware around it.
firmware: uefi
	@$(ROOT)/scripts/deps run
	@cmake -B $(UEFI_DIR) -DQUORVEX_SIGN_KEY="$(SIGN_KEY)" -DQUORVEX_SIGN_CERT="$(SIGN_CERT)" >/dev/null
	@cmake --build $(UEFI_DIR) --target firmware

# The libFuzzer tree (clang, ASan+UBSan), over the host tree's generated sources.
fuzz-build: generated
	@$(ROOT)/scripts/deps fuzz
	@test -f $(FUZZ_DIR)/build.ninja || \
	  CC=clang CXX=clang++ cmake -S $(ROOT) -B $(FUZZ_DIR) -G Ninja -DQUORVEX_FUZZ=ON \
	    -DQUORVEX_GENERATED_DIR=$(HOST_DIR)/generated $(CMAKE_ARGS)
	@cmake --build $(FUZZ_DIR) -j $(JOBS)

fuzz: fuzz-build
	@status=0; for t in $(FUZZ_DIR)/*_fuzz; do \
	  python3 $(ROOT)/tests/fuzz/run_fuzz.py --seconds $(FUZZ_SECONDS) \
	    --work $(FUZZ_DIR)/fuzz-work $$t || status=1; \
	done; exit $$status

sizes:
	@for f in $(UEFI_DIR)/QuorvexSetup.efi $(UEFI_DIR)/QuorvexPlatform.efi \
	    $(UEFI_DIR)/QuorvexFirmwareSetup.efi; do \
	  test -f $$f && printf '%-26s %8d bytes\n' $$(basename $$f) $$(stat -c %s $$f); \
	done; true

# A real FAT disk: QEMU's emulated FAT directory can lose the tail of what
# the guest writes (a screenshot's last bytes).
run: $(if $(FIRMWARE),firmware,image)
	@$(ROOT)/scripts/deps run
	@$(ROOT)/scripts/run-qemu $(if $(SCREENSHOT),--screenshot $(abspath $(SCREENSHOT))) \
	  $(if $(MOUSE),--mouse) $(if $(FIRMWARE),--firmware $(FIRMWARE_DIR),--image $(IMAGE_FILE) \
	  --screenshots-to $(ROOT)/build/screenshots)

sim: host-configure
	@cmake --build $(HOST_DIR) -j $(JOBS) --target quorvex-sim
	@$(HOST_DIR)/quorvex-sim --window

# Host tests (unit, scenarios) in parallel; then the image checks and the
# end-to-end tests, which boot QEMU one at a time. Both groups always run; the
# command fails if either failed.
test: build firmware fuzz-build
	@$(ROOT)/scripts/deps test
	@status=0; \
	  (cd $(HOST_DIR) && ctest --output-on-failure -j $(JOBS)) || status=1; \
	  (cd $(FUZZ_DIR) && ctest --output-on-failure -j $(JOBS)) || status=1; \
	  (cd $(UEFI_DIR) && ctest --output-on-failure) || status=1; \
	  exit $$status

unit-test: host
	@cd $(HOST_DIR) && ctest --output-on-failure -L unit

e2e: esp firmware
	@$(ROOT)/scripts/deps run
	@cd $(UEFI_DIR) && ctest --output-on-failure -L e2e

power-cuts: esp
	@$(ROOT)/scripts/deps run
	@QUORVEX_ESP=$(ESP_DIR) python3 $(ROOT)/tests/e2e/power_cut.py --cuts $(POWER_CUTS)

# The QEMU key latency and idle CPU need the ESPs; NO_QEMU=1 leaves them out.
bench: $(if $(NO_QEMU),,esp)
	@$(ROOT)/scripts/deps bench
	@python3 $(ROOT)/tools/bench/bench.py $(if $(NO_QEMU),--no-qemu)

clean:
	rm -rf $(ROOT)/build
