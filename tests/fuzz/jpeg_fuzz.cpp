// The image display service's JPEG path (see image_fuzz_common.h).
#include "tests/fuzz/image_fuzz_common.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::ImageSetUp();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  fuzz::ImageOne(Data, Size, ImageFormatJpeg);
  return 0;
}
