// A dhcpsapi.dll of the unit tests' own: it plays prepared pages of clients and writes down what is
// asked of it.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

/// One answer of the enumeration.
struct Page {
    DWORD error;
    DWORD resume;
    int clients;  // that many records
};

struct RecordingServer {
    std::vector<Page> pages;  // the last one again when they are used up
    std::size_t rounds = 0;
    std::string calls;
    int blocks = 0;  // given out and not freed
};
using RecordingServerFn = RecordingServer&();

/// The server of this process, from the DLL beside the program.
inline RecordingServer& Server() {
    static const HMODULE module = ::LoadLibraryA("dhcpsapi.dll");
    static auto* const get = reinterpret_cast<RecordingServerFn*>(
        reinterpret_cast<void*>(::GetProcAddress(module, "GetRecordingServer")));
    return get();
}
