#include "script/progress.h"

volatile LONG g_progressPercent = 0;
