// The unit tests' own dhcpsapi.dll: returns prepared pages of clients and records the calls that
// change the server.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

/// One result of DhcpEnumSubnetClientsV4.
struct Page {
    DWORD error;
    DWORD resume;
    int clients;  // number of records
};

struct RecordingServer {
    std::vector<Page> pages;  // the last page repeats
    std::size_t rounds = 0;
    std::string calls;
    int blocks = 0;  // allocated and not freed
};
using RecordingServerFn = RecordingServer&();

/// Returns the server of this process, from the dhcpsapi.dll beside the program.
inline RecordingServer& Server() {
    static const HMODULE module = ::LoadLibraryA("dhcpsapi.dll");
    static auto* const get = reinterpret_cast<RecordingServerFn*>(
        reinterpret_cast<void*>(::GetProcAddress(module, "GetRecordingServer")));
    return get();
}
