#pragma once

// Memory that runs out where a test says so, for what the library takes with std::nothrow.

extern int g_nAllocationsLeft; // the last of them fails; -1: no limit
extern bool g_bFailsOnce;      // the next ones succeed again
