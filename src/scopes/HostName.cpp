#include "scopes/HostName.h"

#include <windows.h>

#include <cctype>

std::string FirstLabel(const std::string& hostName) {
    // In no code page is "." the second byte of a character.
    return hostName.substr(0, hostName.find('.'));
}

std::string CaselessName(const std::string& name) {
    std::string upper = name;
    for (char* at = upper.data(); *at;) {
        char* const next = ::CharNextExA(CP_THREAD_ACP, at, 0);
        if (next - at == 1)
            *at = static_cast<char>(std::toupper(static_cast<unsigned char>(*at)));
        at = next;
    }
    return upper;
}
