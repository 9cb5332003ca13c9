#include "diagtools/AnsiText.h"

namespace DiagTools {

const char* NextCharacter(const char* text, UINT codePage) {
    return ::IsDBCSLeadByteEx(codePage, static_cast<BYTE>(*text)) && text[1] ? text + 2 : text + 1;
}

std::size_t WholeCharacters(const char* text, std::size_t maxBytes, UINT codePage) {
    const char* end = text;
    while (*end) {
        const char* const next = NextCharacter(end, codePage);
        if (static_cast<std::size_t>(next - text) > maxBytes)
            break;
        end = next;
    }
    return static_cast<std::size_t>(end - text);
}

}  // namespace DiagTools
