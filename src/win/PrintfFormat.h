#pragma once

// Lets the compiler check formats against their arguments. Positions count from 1, which in a
// member function is `this`.
#if defined(__GNUC__)
#define DT_PRINTF_FORMAT(formatIndex, firstArgument) \
    __attribute__((format(gnu_printf, formatIndex, firstArgument)))
#else
#define DT_PRINTF_FORMAT(formatIndex, firstArgument)
#endif
