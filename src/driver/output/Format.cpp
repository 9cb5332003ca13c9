#include "driver/output/Format.h"

#include <cstdarg>
#include <cstdio>
#include <stdexcept>

std::string Format(const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    if (length < 0)
        throw std::runtime_error("a text can't be formatted");
    if (static_cast<std::size_t>(length) < sizeof(text))
        return std::string(text, static_cast<std::size_t>(length));
    std::string whole(static_cast<std::size_t>(length), '\0');
    va_start(arguments, format);
    std::vsnprintf(whole.data(), whole.size() + 1, format, arguments);
    va_end(arguments);
    return whole;
}
