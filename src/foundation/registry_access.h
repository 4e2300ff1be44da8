#pragma once

#include <windows.h>

// Every registry access mask of the library. Which view a mask asks for depends on whether the process runs under
// WOW64, asked anew for each open.

constexpr REGSAM kReadDefaultView = KEY_READ;                  // 0x20019
constexpr REGSAM kRead64BitView = KEY_READ | KEY_WOW64_64KEY;  // 0x20119
constexpr REGSAM kRead32BitView = KEY_READ | KEY_WOW64_32KEY;  // 0x20219

// 0x20119 under WOW64, else 0x20019.
REGSAM ReadNativeView();

// The view to try after the default one: 0x20119 under WOW64, else 0x20219.
REGSAM ReadOtherView();

// 0xF013F under WOW64, or 0xF023F if `x32view`; else 0xF003F whatever `x32view` says.
REGSAM FullAccess(bool x32view);

// 0xF003F: service keys, which have one view.
constexpr REGSAM kFullAccessDefaultView = KEY_ALL_ACCESS;

// 0x101 under WOW64, else 0x1.
REGSAM QueryValueAccess();
