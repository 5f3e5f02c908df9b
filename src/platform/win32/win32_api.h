// <windows.h> as the program includes it: without the min/max macros, and without the
// MessageBox macro, which would otherwise rename platform::MessageBox in every file that sees
// both.
#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// windows.h must come first.
#include <commctrl.h>

#undef MessageBox
