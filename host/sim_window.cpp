// The simulator's window. Keys are delivered as the console would deliver
// them; the mouse moves the utility's cursor to where the host pointer is
// (the fake mouse homes to the corner and moves from there), and a left
// press is a click.
#include "host/sim_window.h"

#include "host/fake_firmware.h"

#if QUORVEX_HAVE_SDL2

#include <SDL2/SDL.h>

#include <vector>

namespace sim {

namespace {

SDL_Window* Window = nullptr;
SDL_Renderer* Renderer = nullptr;
SDL_Texture* Texture = nullptr;
int TextureWidth = 0;
int TextureHeight = 0;
UINT64 PresentedGeneration = ~0ull;
Uint64 LastPresent = 0;
Uint64 LastPump = 0;
UINT64 EmptyReads = 0;
int PointerX = -1, PointerY = -1;
bool PointerMoved = false;
std::function<void()> CloseHandler;

constexpr Uint64 kPresentMs = 16;
constexpr Uint64 kPumpMs = 2;
constexpr UINT64 kReadsBeforeSleep = 64;

bool SpecialKey(SDL_Keycode Key, UINT16* Scan, CHAR16* Char) {
  *Char = 0;
  switch (Key) {
  case SDLK_UP:
    *Scan = SCAN_UP;
    return true;
  case SDLK_DOWN:
    *Scan = SCAN_DOWN;
    return true;
  case SDLK_RIGHT:
    *Scan = SCAN_RIGHT;
    return true;
  case SDLK_LEFT:
    *Scan = SCAN_LEFT;
    return true;
  case SDLK_HOME:
    *Scan = SCAN_HOME;
    return true;
  case SDLK_END:
    *Scan = SCAN_END;
    return true;
  case SDLK_INSERT:
    *Scan = SCAN_INSERT;
    return true;
  case SDLK_DELETE:
    *Scan = SCAN_DELETE;
    return true;
  case SDLK_PAGEUP:
    *Scan = SCAN_PAGE_UP;
    return true;
  case SDLK_PAGEDOWN:
    *Scan = SCAN_PAGE_DOWN;
    return true;
  case SDLK_ESCAPE:
    *Scan = SCAN_ESC;
    return true;
  case SDLK_RETURN:
  case SDLK_KP_ENTER:
    *Scan = SCAN_NULL;
    *Char = CHAR_CARRIAGE_RETURN;
    return true;
  case SDLK_TAB:
    *Scan = SCAN_NULL;
    *Char = CHAR_TAB;
    return true;
  case SDLK_BACKSPACE:
    *Scan = SCAN_NULL;
    *Char = CHAR_BACKSPACE;
    return true;
  default:
    break;
  }
  if (Key >= SDLK_F1 && Key <= SDLK_F12) {
    *Scan = static_cast<UINT16>(SCAN_F1 + (Key - SDLK_F1));
    return true;
  }
  return false;
}

// Typed text arrives as UTF-8; each BMP character becomes one key.
void PushText(const char* Text) {
  const unsigned char* p = reinterpret_cast<const unsigned char*>(Text);
  while (*p) {
    UINT32 c = *p;
    int extra = c < 0x80 ? 0 : (c & 0xE0) == 0xC0 ? 1 : (c & 0xF0) == 0xE0 ? 2 : 3;
    c &= extra == 0 ? 0x7F : extra == 1 ? 0x1F : extra == 2 ? 0x0F : 0x07;
    ++p;
    for (int i = 0; i < extra && *p; ++i, ++p) c = c << 6 | (*p & 0x3F);
    if (c >= 0x20 && c < 0x10000 && (c < 0xD800 || c > 0xDFFF))
      fake::PushKey(SCAN_NULL, static_cast<CHAR16>(c));
  }
}

void Present() {
  const int width = static_cast<int>(fake::ScreenWidth());
  const int height = static_cast<int>(fake::ScreenHeight());
  if (width == 0 || height == 0) return;
  if (width != TextureWidth || height != TextureHeight) {
    if (Texture) SDL_DestroyTexture(Texture);
    Texture = SDL_CreateTexture(Renderer, SDL_PIXELFORMAT_ARGB8888, SDL_TEXTUREACCESS_STREAMING,
                                width, height);
    TextureWidth = width;
    TextureHeight = height;
    SDL_SetWindowSize(Window, width, height);
  }
  if (Texture == nullptr) return;
  // GOP pixels are blue, green, red, reserved: ARGB8888 in memory order on
  // a little-endian host; the reserved byte is forced opaque.
  std::vector<Uint32> pixels(static_cast<size_t>(width) * height);
  const auto& fb = fake::Framebuffer();
  for (size_t i = 0; i < pixels.size(); ++i)
    pixels[i] = 0xFF000000u | (Uint32(fb[i].Red) << 16) | (Uint32(fb[i].Green) << 8) | fb[i].Blue;
  SDL_UpdateTexture(Texture, nullptr, pixels.data(), width * 4);
  SDL_RenderClear(Renderer);
  SDL_RenderCopy(Renderer, Texture, nullptr, nullptr);
  SDL_RenderPresent(Renderer);
  PresentedGeneration = fake::FramebufferGeneration();
}

void HandleEvent(const SDL_Event& Event) {
  switch (Event.type) {
  case SDL_QUIT:
    if (CloseHandler) CloseHandler();
    break;
  case SDL_KEYDOWN: {
    UINT16 scan;
    CHAR16 ch;
    if (SpecialKey(Event.key.keysym.sym, &scan, &ch)) fake::PushKey(scan, ch);
    break;
  }
  case SDL_TEXTINPUT:
    PushText(Event.text.text);
    break;
  case SDL_MOUSEMOTION:
    PointerX = Event.motion.x;
    PointerY = Event.motion.y;
    PointerMoved = true;
    break;
  case SDL_MOUSEBUTTONDOWN:
    if (Event.button.button == SDL_BUTTON_LEFT) {
      fake::MouseMoveTo(static_cast<UINT32>(Event.button.x < 0 ? 0 : Event.button.x),
                        static_cast<UINT32>(Event.button.y < 0 ? 0 : Event.button.y), true);
      PointerMoved = false;
    } else if (Event.button.button == SDL_BUTTON_RIGHT) {
      // The right button stands in for a finger on the touch panel.
      fake::TouchAt(static_cast<UINT32>(Event.button.x < 0 ? 0 : Event.button.x),
                    static_cast<UINT32>(Event.button.y < 0 ? 0 : Event.button.y));
    }
    break;
  default:
    break;
  }
}

} // namespace

bool Window_Open(std::function<void()> OnClose, std::string* Error) {
  if (SDL_Init(SDL_INIT_VIDEO) != 0) {
    *Error = SDL_GetError();
    return false;
  }
  const int width = fake::ScreenWidth() ? static_cast<int>(fake::ScreenWidth()) : 1024;
  const int height = fake::ScreenHeight() ? static_cast<int>(fake::ScreenHeight()) : 768;
  Window = SDL_CreateWindow("Quorvex Setup (simulator)", SDL_WINDOWPOS_CENTERED,
                            SDL_WINDOWPOS_CENTERED, width, height, 0);
  if (Window == nullptr) {
    *Error = SDL_GetError();
    SDL_Quit();
    return false;
  }
  Renderer = SDL_CreateRenderer(Window, -1, 0);
  if (Renderer == nullptr) {
    *Error = SDL_GetError();
    Window_Close();
    return false;
  }
  SDL_StartTextInput();
  CloseHandler = std::move(OnClose);
  return true;
}

void Window_Pump(bool QueueEmpty) {
  if (Window == nullptr) return;
  const Uint64 now = SDL_GetTicks64();
  if (now - LastPump >= kPumpMs) {
    LastPump = now;
    SDL_Event event;
    while (SDL_PollEvent(&event)) HandleEvent(event);
    // Motion is coalesced: only the latest position is delivered, once the
    // utility has taken what was queued before.
    if (PointerMoved && fake::PendingInputs() == 0) {
      fake::MouseMoveTo(static_cast<UINT32>(PointerX < 0 ? 0 : PointerX),
                        static_cast<UINT32>(PointerY < 0 ? 0 : PointerY), false);
      PointerMoved = false;
    }
  }
  if (fake::FramebufferGeneration() != PresentedGeneration && now - LastPresent >= kPresentMs) {
    LastPresent = now;
    Present();
  }
  // The utility polls without waiting; give the host a breather while
  // nothing is happening.
  if (QueueEmpty && ++EmptyReads % kReadsBeforeSleep == 0) SDL_Delay(1);
  if (!QueueEmpty) EmptyReads = 0;
}

void Window_Close() {
  if (Texture) SDL_DestroyTexture(Texture);
  if (Renderer) SDL_DestroyRenderer(Renderer);
  if (Window) SDL_DestroyWindow(Window);
  if (Window) SDL_Quit();
  Texture = nullptr;
  Renderer = nullptr;
  Window = nullptr;
}

} // namespace sim

#else // built without SDL2

namespace sim {

bool Window_Open(std::function<void()>, std::string* Error) {
  *Error = "this simulator was built without SDL2 (install libsdl2-dev and rebuild)";
  return false;
}
void Window_Pump(bool) {}
void Window_Close() {}

} // namespace sim

#endif
