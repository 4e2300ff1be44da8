#pragma once

#include <windows.h>

// How far the removal of the product at hand has come: 30 for the walk of its script and 70 for the execution. Not
// clamped: it may pass 100. Written by atomic exchange, read by a second thread of the host; 0 when the library loads.
extern volatile LONG g_progressPercent;
