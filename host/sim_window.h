// The simulator's desktop window (SDL2): shows the fake framebuffer and turns
// the host keyboard and mouse into input for the fake firmware.
#pragma once

#include <functional>
#include <string>

namespace sim {

// False (with a reason) when the window cannot be opened, or when the
// simulator was built without SDL2.
bool Window_Open(std::function<void()> OnClose, std::string* Error);
// Called on every input read: presents the framebuffer now and then, turns
// window events into input, and sleeps a little while the utility only polls.
void Window_Pump(bool QueueEmpty);
void Window_Close();

} // namespace sim
