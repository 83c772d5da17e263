#include "reference_platform/image_display.h"

#include "platform/lib.h"
#include "reference_platform/image_decode.h"
#include "reference_platform/platform_context.h"

namespace {

// Room for every small picture the utility draws (the marks, the switches,
// the arrows and the boot class pictures), so that no page's drawing
// decodes one again.
constexpr UINTN kCacheEntries = 24;
// A decoded picture larger than this (the band and the logos) is drawn and
// let go: each is drawn only when the whole screen is (start-up, a
// language switch, the screen rebuilt after a dialog), and held it would
// sit in the pool beside every saved screen and frame.
constexpr UINT64 kKeptPictureBytes = 32 * 1024;

struct CacheEntry {
  const void* Data;
  UINT64 Size;
  UINT64 Checksum;
  UINT64 LastUse;
  DecodedImage Image;
};

// The decoded pictures, the least recently used one replaced first, and the
// number of decodes so far (which the cache is there to keep low).
struct DecodeCache {
  CacheEntry Entries[kCacheEntries];
  UINT64 UseClock;
  UINT64 DecodeCount;
};
constinit DecodeCache gCache = {};

// A checksum of the picture's bytes, eight at a time (FNV-1a over words):
// it catches a changed picture at the same address, at a fraction of a
// CRC's cost, on every drawing.
UINT64 PictureChecksum(const void* Data, UINT64 Size) {
  const UINT8* bytes = static_cast<const UINT8*>(Data);
  constexpr UINT64 kPrime = 0x100000001B3ull;
  UINT64 h = 0xCBF29CE484222325ull ^ Size;
  UINT64 i = 0;
  for (; i + 8 <= Size; i += 8) {
    UINT64 word;
    __builtin_memcpy(&word, bytes + i, sizeof word);
    h = (h ^ word) * kPrime;
  }
  for (; i < Size; ++i) h = (h ^ bytes[i]) * kPrime;
  return h;
}

// The picture decoded, from the cache or freshly. A changed picture at the
// same address is caught by its checksum.
EFI_STATUS Decoded(const void* Data, UINT64 Size, const DecodedImage** Image) {
  const UINT64 checksum = PictureChecksum(Data, Size);
  CacheEntry* victim = &gCache.Entries[0];
  for (CacheEntry& entry : gCache.Entries) {
    if (entry.Image.Pixels && entry.Data == Data && entry.Size == Size &&
        entry.Checksum == checksum) {
      entry.LastUse = ++gCache.UseClock;
      *Image = &entry.Image;
      return EFI_SUCCESS;
    }
    if (!entry.Image.Pixels) {
      if (victim->Image.Pixels) victim = &entry;
    } else if (victim->Image.Pixels && entry.LastUse < victim->LastUse) {
      victim = &entry;
    }
  }
  DecodedImage fresh;
  const EFI_STATUS status = ImageDecode_Decode(Data, Size, &fresh);
  if (EFI_ERROR(status)) return status;
  ++gCache.DecodeCount;
  ImageDecode_Release(&victim->Image);
  victim->Data = Data;
  victim->Size = Size;
  victim->Checksum = checksum;
  victim->LastUse = ++gCache.UseClock;
  victim->Image = fresh;
  *Image = &victim->Image;
  return EFI_SUCCESS;
}

// Lets the cache entry holding Image go.
void Forget(const DecodedImage* Image) {
  for (CacheEntry& entry : gCache.Entries)
    if (&entry.Image == Image) ImageDecode_Release(&entry.Image);
}

// Lets a decoded picture larger than kKeptPictureBytes go when the drawing
// ends, however it ends.
class LargePictureRelease {
public:
  explicit LargePictureRelease(const DecodedImage* Image) : image_(Image) {}
  ~LargePictureRelease() {
    if (static_cast<UINT64>(image_->Width) * image_->Height *
            sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL) >
        kKeptPictureBytes)
      Forget(image_);
  }
  LargePictureRelease(const LargePictureRelease&) = delete;
  LargePictureRelease& operator=(const LargePictureRelease&) = delete;

private:
  const DecodedImage* image_;
};

EFI_GRAPHICS_OUTPUT_PROTOCOL* LocateGop() {
  if (!PlatformBootServices || !PlatformBootServices->LocateProtocol) return nullptr;
  void* interface = nullptr;
  if (EFI_ERROR(PlatformBootServices->LocateProtocol(&kGraphicsOutputGuid, nullptr, &interface)))
    return nullptr;
  return static_cast<EFI_GRAPHICS_OUTPUT_PROTOCOL*>(interface);
}

// (Source × Alpha + Backdrop × (255 − Alpha)) ÷ 255, truncated: for sums up
// to 255 × 255 the shifts give exactly the quotient.
UINT32 Blend(UINT32 Source, UINT32 Backdrop, UINT32 Alpha) {
  const UINT32 sum = Source * Alpha + Backdrop * (255 - Alpha);
  return (sum + 1 + (sum >> 8)) >> 8;
}

EFI_STATUS Draw(const void* Data, UINT64 Size, UINT64 X, UINT64 Y, ImageFormat Format) {
  if (!Data || Size == 0) return EFI_INVALID_PARAMETER;
  if (ImageDecode_Format(Data, Size) != Format) return EFI_UNSUPPORTED;
  EFI_GRAPHICS_OUTPUT_PROTOCOL* gop = LocateGop();
  if (!gop || !gop->Blt) return EFI_NOT_FOUND;
  if (!gop->Mode || !gop->Mode->Info) return EFI_DEVICE_ERROR;
  const DecodedImage* image = nullptr;
  const EFI_STATUS decoded = Decoded(Data, Size, &image);
  if (EFI_ERROR(decoded)) return decoded;
  LargePictureRelease release(image);

  const UINT64 screen_width = gop->Mode->Info->HorizontalResolution;
  const UINT64 screen_height = gop->Mode->Info->VerticalResolution;
  if (X >= screen_width || Y >= screen_height) return EFI_SUCCESS; // wholly off screen
  const UINT64 width = image->Width < screen_width - X ? image->Width : screen_width - X;
  const UINT64 height = image->Height < screen_height - Y ? image->Height : screen_height - Y;

  QUORVEX_POOL_ARRAY(EFI_GRAPHICS_OUTPUT_BLT_PIXEL, area, width * height);
  if (!area) return EFI_OUT_OF_RESOURCES;
  if (image->HasAlpha) {
    const EFI_STATUS read = gop->Blt(gop, area.get(), EfiBltVideoToBltBuffer, X, Y, 0, 0, width,
                                     height, width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
    if (EFI_ERROR(read)) return read;
  }
  for (UINT64 row = 0; row < height; ++row) {
    const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* source = image->Pixels + row * image->Width;
    EFI_GRAPHICS_OUTPUT_BLT_PIXEL* target = area.get() + row * width;
    if (!image->HasAlpha) {
      // Opaque: the colour bytes as they are, the reserved byte cleared,
      // one 32-bit word per pixel.
      for (UINT64 column = 0; column < width; ++column) {
        UINT32 word;
        __builtin_memcpy(&word, &source[column], sizeof word);
        word &= 0x00FFFFFFu;
        __builtin_memcpy(&target[column], &word, sizeof word);
      }
      continue;
    }
    for (UINT64 column = 0; column < width; ++column) {
      const EFI_GRAPHICS_OUTPUT_BLT_PIXEL s = source[column];
      EFI_GRAPHICS_OUTPUT_BLT_PIXEL& d = target[column];
      const UINT32 alpha = s.Reserved;
      // Wholly clear and wholly opaque pixels need no blending (the
      // formula gives the backdrop and the source exactly).
      if (alpha == 0) continue;
      if (alpha == 255) {
        d = {s.Blue, s.Green, s.Red, d.Reserved};
        continue;
      }
      d.Blue = static_cast<UINT8>(Blend(s.Blue, d.Blue, alpha));
      d.Green = static_cast<UINT8>(Blend(s.Green, d.Green, alpha));
      d.Red = static_cast<UINT8>(Blend(s.Red, d.Red, alpha));
    }
  }
  return gop->Blt(gop, area.get(), EfiBltBufferToVideo, 0, 0, X, Y, width, height,
                  width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
}

EFI_STATUS EFIAPI GetSize(const void* Data, UINT64 Size, UINT64* Width, UINT64* Height) {
  if (!Width || !Height) return EFI_INVALID_PARAMETER;
  UINT32 w = 0, h = 0;
  const EFI_STATUS status = ImageDecode_Info(Data, Size, &w, &h);
  if (EFI_ERROR(status)) return status;
  *Width = w;
  *Height = h;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI DrawJpeg(const void* Data, UINT32 Size, UINT64 X, UINT64 Y) {
  return Draw(Data, Size, X, Y, ImageFormatJpeg);
}

EFI_STATUS EFIAPI DrawPng(const void* Data, UINT64 Size, UINT64 X, UINT64 Y) {
  return Draw(Data, Size, X, Y, ImageFormatPng);
}

constinit ImageDisplayOperations gOperations = {GetSize, DrawJpeg, DrawPng};
constinit ImageDisplayProtocol gProtocol = {1, nullptr, &gOperations};

} // namespace

ImageDisplayProtocol* ImageDisplay_Instance() {
  return &gProtocol;
}

EFI_STATUS ImageDisplay_Install() {
  return Platform_InstallOnNewHandle(kImageDisplayGuid, &gProtocol);
}

void ImageDisplay_ClearCache() {
  for (CacheEntry& entry : gCache.Entries) {
    ImageDecode_Release(&entry.Image);
    entry.Data = nullptr;
    entry.Size = 0;
  }
}

UINT64 ImageDisplay_DecodeCount() {
  return gCache.DecodeCount;
}
