// Returns every graphics module to its power-on state: buffered drawing off
// (the firmware Blt put back), the off-screen frame and the saved grey-out
// screen freed, no window open, the general help back on its first page.
// Host tests run many sessions in one process and call this between them.
#pragma once

void Quorvex_Graphics_Reset();
