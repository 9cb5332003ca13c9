#include <gtest/gtest.h>

#include <cstdint>

#include "LabLibrary.h"

namespace lab_test {
namespace {

struct Client {
    explicit Client(const Library& dll)
        : open(dll.Get<void*(HMODULE, const char*, const char*, const char*)>("DTRegisterModule")),
          close(dll.Get<void(void*)>("DTUnregisterModule")),
          text(dll.Get<void(void*, const char*, uint32_t, const char*, uint32_t, uint32_t, uint32_t,
                            const char*)>("DTTraceStr")),
          buffer(dll.Get<void(void*, const char*, uint32_t, const char*, uint32_t, uint32_t,
                              uint32_t, const void*, uint32_t)>("DTTraceBuffer")),
          filter(dll.Get<uint32_t(void*)>("DTGetFilter")) {}
    void* (*open)(HMODULE, const char*, const char*, const char*);
    void (*close)(void*);
    void (*text)(void*, const char*, uint32_t, const char*, uint32_t, uint32_t, uint32_t,
                 const char*);
    void (*buffer)(void*, const char*, uint32_t, const char*, uint32_t, uint32_t, uint32_t,
                   const void*, uint32_t);
    uint32_t (*filter)(void*);
};

const HMODULE kModule = ::GetModuleHandleW(nullptr);

TEST(LabTraceClient, EachCallIsOneLine) {
    const Folder folder;
    Library dll(L"DTClient.dll", {{L"DHCPLAB_TRACE", folder / L"t"},
                                  {L"DHCPLAB_TRACE_MASK", L"0x11"},
                                  {L"DHCPLAB_TRACE_COUNT", L"1"}});
    const Client client(dll);
    void* const handle = client.open(kModule, "C:\\x y\\tool.exe", "", "a\"b");
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(client.filter(handle), 0x11u);
    client.text(handle, "Tag", 4294967295u, "C::F", 128, 0, 0, "a|b\r\n\\ \xE9");
    client.buffer(handle, "Tag", 7, "C::G", 1, 0, 0, "\x00\xFFz", 3);
    client.close(handle);
    dll.Unload();
    EXPECT_EQ(
        ReadAll(folder / L"t"),
        "register|tool.exe|\"\"|\"a\\\"b\"\nfilter\n128|Tag|C::F|4294967295|a|b\\r\\n\\\\ \\xE9\n"
        "1|Tag|C::G|7|buffer 3 00FF7A\nunregister\n");
}

TEST(LabTraceClient, MisuseShowsInTheTraceAndInTheJournal) {
    const Folder folder;
    Library dll(L"DTClient.dll",
                {{L"DHCPLAB_TRACE", folder / L"t"}, {L"DHCPLAB_JOURNAL", folder / L"j"}});
    const Client client(dll);
    client.text(nullptr, "Tag", 1, "F", 1, 0, 0, "too early");
    void* const handle = client.open(kModule, "tool.exe", "", "");
    client.close(handle);
    client.buffer(handle, "Tag", 1, "F", 1, 0, 0, "late", 4);
    EXPECT_EQ(client.open(kModule, "tool.exe", "", ""), handle);
    client.text(&dll, "Tag", 1, "F", 1, 0, 0, "stranger");
    client.text(handle, nullptr, 1, "F", 1, 0, 0, "no tag");
    client.buffer(handle, "Tag", 1, "F", 1, 0, 0, nullptr, 4);
    client.open(kModule, "tool.exe", nullptr, "");
    dll.Unload();
    std::string expected, journal;
    for (const char* const what :
         {"DTTraceStr without a registration", "DTTraceBuffer without a registration",
          "DTTraceStr with an unknown registration", "DTTraceStr with a null argument",
          "DTTraceBuffer with a null argument", "DTRegisterModule with a null argument",
          "DTRegisterModule while registered", "module left registered"}) {
        expected += "MISUSE trace " + std::string(what) + "\n";
    }
    EXPECT_EQ(ReadAll(folder / L"j"), expected);
    EXPECT_NE(ReadAll(folder / L"t").find("\nMISUSE DTTraceStr with a null argument\n"),
              std::string::npos);
}

TEST(LabTraceClient, ALibraryCanRefuseOrLackAnEntry) {
    const Folder folder;
    Library refusing(L"DTClient.dll",
                     {{L"DHCPLAB_TRACE", folder / L"t"}, {L"DHCPLAB_TRACE_FAIL", L"register"}});
    EXPECT_EQ(Client(refusing).open(kModule, "tool.exe", "", ""), nullptr);
    refusing.Unload();
    EXPECT_EQ(ReadAll(folder / L"t"), "register|tool.exe|\"\"|\"\"|refused\n");
    const Library lacking(L"DTClientNoFilter.dll", {});
    const Client client(lacking);
    EXPECT_TRUE(client.open && client.close && client.text && client.buffer && !client.filter);
}

}  // namespace
}  // namespace lab_test
