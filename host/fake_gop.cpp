// The fake Graphics Output Protocol: the modes the simulator was given, a
// framebuffer of the current mode, and Blt with the four operations, checked
// against the screen the way the firmware checks them (a rectangle that does
// not fit is refused with EFI_INVALID_PARAMETER and nothing is drawn).
#include <algorithm>
#include <cstring>

#include "host/fake_internal.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wsign-compare"
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace fake::detail {

namespace {

void SelectMode(UINT32 Number) {
  State& s = *g;
  const Mode mode = s.Opts.Modes[Number];
  s.GopMode.Mode = Number;
  s.GopInfo.Version = 0;
  s.GopInfo.HorizontalResolution = mode.Width;
  s.GopInfo.VerticalResolution = mode.Height;
  s.GopInfo.PixelFormat = PixelBlueGreenRedReserved8BitPerColor;
  s.GopInfo.PixelInformation = {0, 0, 0, 0};
  s.GopInfo.PixelsPerScanLine = mode.Width;
  // A mode change clears the screen to black: one memset over a frame
  // buffer of the same size, a fresh (zeroed) one for another size.
  const size_t pixels = static_cast<size_t>(mode.Width) * mode.Height;
  if (s.Framebuffer.size() == pixels) {
    std::memset(s.Framebuffer.data(), 0, pixels * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
  } else {
    s.Framebuffer.clear();
    s.Framebuffer.resize(pixels);
  }
  s.GopMode.FrameBufferBase = reinterpret_cast<EFI_PHYSICAL_ADDRESS>(s.Framebuffer.data());
  s.GopMode.FrameBufferSize = s.Framebuffer.size() * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL);
  ++s.FramebufferGeneration;
}

EFI_STATUS EFIAPI QueryMode(EFI_GRAPHICS_OUTPUT_PROTOCOL* This, UINT32 ModeNumber,
                            UINTN* SizeOfInfo, EFI_GRAPHICS_OUTPUT_MODE_INFORMATION** Info) {
  if (This == nullptr || SizeOfInfo == nullptr || Info == nullptr) return EFI_INVALID_PARAMETER;
  if (ModeNumber >= g->GopMode.MaxMode) return EFI_INVALID_PARAMETER;
  // The record is allocated from the pool for the caller, who frees it.
  auto* info = static_cast<EFI_GRAPHICS_OUTPUT_MODE_INFORMATION*>(
      PoolAllocate(sizeof(EFI_GRAPHICS_OUTPUT_MODE_INFORMATION)));
  if (info == nullptr) return EFI_OUT_OF_RESOURCES;
  const Mode mode = g->Opts.Modes[ModeNumber];
  *info = {};
  info->HorizontalResolution = mode.Width;
  info->VerticalResolution = mode.Height;
  info->PixelFormat = PixelBlueGreenRedReserved8BitPerColor;
  info->PixelsPerScanLine = mode.Width;
  *SizeOfInfo = sizeof(EFI_GRAPHICS_OUTPUT_MODE_INFORMATION);
  *Info = info;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SetMode(EFI_GRAPHICS_OUTPUT_PROTOCOL* This, UINT32 ModeNumber) {
  if (This == nullptr) return EFI_INVALID_PARAMETER;
  ++g->SetModeCalls;
  if (ModeNumber >= g->GopMode.MaxMode) return EFI_UNSUPPORTED;
  SelectMode(ModeNumber);
  return EFI_SUCCESS;
}

EFI_STATUS Reject() {
  ++g->Blt.Rejected;
  return EFI_INVALID_PARAMETER;
}

EFI_STATUS EFIAPI Blt(EFI_GRAPHICS_OUTPUT_PROTOCOL* This, EFI_GRAPHICS_OUTPUT_BLT_PIXEL* BltBuffer,
                      EFI_GRAPHICS_OUTPUT_BLT_OPERATION BltOperation, UINTN SourceX, UINTN SourceY,
                      UINTN DestinationX, UINTN DestinationY, UINTN Width, UINTN Height,
                      UINTN Delta) {
  State& s = *g;
  if (This == nullptr || BltOperation >= EfiGraphicsOutputBltOperationMax) return Reject();
  if (Width == 0 || Height == 0) return Reject();
  if (BltOperation != EfiBltVideoToVideo && BltBuffer == nullptr) return Reject();
  const UINTN screenWidth = s.GopInfo.HorizontalResolution;
  const UINTN screenHeight = s.GopInfo.VerticalResolution;
  auto fits = [&](UINTN X, UINTN Y) {
    return X <= screenWidth && Width <= screenWidth - X && Y <= screenHeight &&
           Height <= screenHeight - Y;
  };
  if (Delta == 0) Delta = Width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL);
  auto screen = [&](UINTN X, UINTN Y) -> EFI_GRAPHICS_OUTPUT_BLT_PIXEL* {
    return &s.Framebuffer[Y * screenWidth + X];
  };
  auto buffer = [&](UINTN X, UINTN Y) -> EFI_GRAPHICS_OUTPUT_BLT_PIXEL* {
    return reinterpret_cast<EFI_GRAPHICS_OUTPUT_BLT_PIXEL*>(
        reinterpret_cast<UINT8*>(BltBuffer) + Y * Delta +
        X * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL));
  };
  // Whole rows at a time, as a frame buffer Blt copies them. memmove: a
  // caller may hand over a buffer that overlaps the screen itself.
  const size_t rowBytes = Width * sizeof(EFI_GRAPHICS_OUTPUT_BLT_PIXEL);

  switch (BltOperation) {
  case EfiBltVideoFill: {
    if (!fits(DestinationX, DestinationY)) return Reject();
    // The first row is filled, the others are copies of it.
    EFI_GRAPHICS_OUTPUT_BLT_PIXEL* first = screen(DestinationX, DestinationY);
    std::fill_n(first, Width, BltBuffer[0]);
    for (UINTN y = 1; y < Height; ++y)
      std::memcpy(screen(DestinationX, DestinationY + y), first, rowBytes);
    break;
  }
  case EfiBltVideoToBltBuffer:
    if (!fits(SourceX, SourceY)) return Reject();
    for (UINTN y = 0; y < Height; ++y)
      std::memmove(buffer(DestinationX, DestinationY + y), screen(SourceX, SourceY + y), rowBytes);
    break;
  case EfiBltBufferToVideo:
    if (!fits(DestinationX, DestinationY)) return Reject();
    for (UINTN y = 0; y < Height; ++y)
      std::memmove(screen(DestinationX, DestinationY + y), buffer(SourceX, SourceY + y), rowBytes);
    break;
  case EfiBltVideoToVideo: {
    if (!fits(SourceX, SourceY) || !fits(DestinationX, DestinationY)) return Reject();
    // Overlapping rectangles copy as if through a separate buffer: moving
    // down, the rows are copied from the bottom up, so that no source row is
    // overwritten before it is read; memmove handles the overlap in a row.
    if (DestinationY > SourceY) {
      for (UINTN y = Height; y-- > 0;)
        std::memmove(screen(DestinationX, DestinationY + y), screen(SourceX, SourceY + y),
                     rowBytes);
    } else {
      for (UINTN y = 0; y < Height; ++y)
        std::memmove(screen(DestinationX, DestinationY + y), screen(SourceX, SourceY + y),
                     rowBytes);
    }
    break;
  }
  default:
    return Reject();
  }
  ++s.Blt.Calls[BltOperation];
  if (BltOperation != EfiBltVideoToBltBuffer) {
    s.Blt.PixelsWritten += Width * Height;
    ++s.FramebufferGeneration;
  }
  return EFI_SUCCESS;
}

} // namespace

void SetUpGraphics(State& S) {
  S.GopMode = {};
  S.GopInfo = {};
  S.GopMode.MaxMode = static_cast<UINT32>(S.Opts.Modes.size());
  S.GopMode.Info = &S.GopInfo;
  S.GopMode.SizeOfInfo = sizeof(EFI_GRAPHICS_OUTPUT_MODE_INFORMATION);
  S.Gop = {QueryMode, SetMode, Blt, &S.GopMode};
  // The firmware hands over in its first mode.
  if (!S.Opts.Modes.empty()) SelectMode(0);
  if (S.Opts.Gop) Install(&S.GopHandle, kGraphicsOutputGuid, &S.Gop);
}

} // namespace fake::detail

namespace fake {

using namespace detail;

EFI_GRAPHICS_OUTPUT_PROTOCOL* Gop() {
  return &g->Gop;
}
UINT32 ScreenWidth() {
  return g->GopInfo.HorizontalResolution;
}
UINT32 ScreenHeight() {
  return g->GopInfo.VerticalResolution;
}
UINT32 CurrentMode() {
  return g->GopMode.Mode;
}
UINT64 SetModeCalls() {
  return g->SetModeCalls;
}
BltStats Blt() {
  return g->Blt;
}
UINT64 FramebufferGeneration() {
  return g->FramebufferGeneration;
}
const std::vector<EFI_GRAPHICS_OUTPUT_BLT_PIXEL>& Framebuffer() {
  return g->Framebuffer;
}

UINT32 PixelAt(UINT32 X, UINT32 Y) {
  if (X >= ScreenWidth() || Y >= ScreenHeight()) return 0;
  const EFI_GRAPHICS_OUTPUT_BLT_PIXEL p =
      g->Framebuffer[static_cast<size_t>(Y) * ScreenWidth() + X];
  return (static_cast<UINT32>(p.Red) << 16) | (static_cast<UINT32>(p.Green) << 8) | p.Blue;
}

void SetPixel(UINT32 X, UINT32 Y, UINT32 Rgb) {
  if (X >= ScreenWidth() || Y >= ScreenHeight()) return;
  g->Framebuffer[static_cast<size_t>(Y) * ScreenWidth() + X] = {
      static_cast<UINT8>(Rgb), static_cast<UINT8>(Rgb >> 8), static_cast<UINT8>(Rgb >> 16), 0};
  ++g->FramebufferGeneration;
}

bool WritePng(const std::string& Path, std::string* Error) {
  const UINT32 width = ScreenWidth();
  const UINT32 height = ScreenHeight();
  if (width == 0 || height == 0) {
    if (Error) *Error = "the screen has no mode";
    return false;
  }
  std::vector<UINT8> rgb(static_cast<size_t>(width) * height * 3);
  for (size_t i = 0; i < static_cast<size_t>(width) * height; ++i) {
    rgb[i * 3 + 0] = g->Framebuffer[i].Red;
    rgb[i * 3 + 1] = g->Framebuffer[i].Green;
    rgb[i * 3 + 2] = g->Framebuffer[i].Blue;
  }
  if (!stbi_write_png(Path.c_str(), static_cast<int>(width), static_cast<int>(height), 3,
                      rgb.data(), static_cast<int>(width * 3))) {
    if (Error) *Error = "cannot write " + Path;
    return false;
  }
  return true;
}

} // namespace fake
