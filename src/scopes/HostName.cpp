#include "scopes/HostName.h"

#include <windows.h>

#include <boost/algorithm/string.hpp>

std::string FirstLabel(const std::string& hostName) {
    // In no code page is "." the second byte of a character.
    return hostName.substr(0, hostName.find('.'));
}

std::string CaselessName(const std::string& name) {
    std::string upper = boost::algorithm::to_upper_copy(name);
    const char* const text = name.c_str();
    for (const char* at = text; *at;) {
        const char* const next = ::CharNextExA(CP_THREAD_ACP, at, 0);
        if (next - at > 1)
            upper.replace(static_cast<std::size_t>(at - text), 2, at, 2);
        at = next;
    }
    return upper;
}
