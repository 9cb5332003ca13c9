#pragma once

// Lets the compiler check format texts against their arguments. Positions count from 1; a member
// function's `this` is argument 1.
#if defined(__GNUC__)
#define DT_PRINTF_FORMAT(formatIndex, firstArgument) \
    __attribute__((format(gnu_printf, formatIndex, firstArgument)))
#else
#define DT_PRINTF_FORMAT(formatIndex, firstArgument)
#endif
