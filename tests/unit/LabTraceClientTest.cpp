#include <gtest/gtest.h>

#include "LabLibrary.h"

namespace lab_test {
namespace {

using Open = void*(HMODULE, const char*, const char*, const char*);
using Close = void(void*);
using TraceText = void(void*, const char*, unsigned, const char*, unsigned, unsigned, unsigned,
                       const char*);
using TraceBuffer = void(void*, const char*, unsigned, const char*, unsigned, unsigned, unsigned,
                         const void*, unsigned);

TEST(LabTraceClient, CallsAndMisuseAreALineEach) {
    const Folder folder;
    Library dll(L"DTClient.dll", folder, {{L"TRACE_MASK", L"0x11"}, {L"TRACE_COUNT", L"1"}});
    auto* const open = dll.Get<Open>("DTRegisterModule");
    auto* const close = dll.Get<Close>("DTUnregisterModule");
    auto* const text = dll.Get<TraceText>("DTTraceStr");
    auto* const buffer = dll.Get<TraceBuffer>("DTTraceBuffer");
    const HMODULE module = ::GetModuleHandleW(nullptr);
    text(nullptr, "Tag", 1, "F", 1, 0, 0, "too early");
    void* const handle = open(module, "C:\\x y\\tool.exe", "", "a\"b");
    EXPECT_EQ(dll.Get<unsigned(void*)>("DTGetFilter")(handle), 0x11u);
    text(handle, "Tag", 4294967295u, "C::F", 128, 0, 0, "a|b\r\n\\ \xE9");
    buffer(handle, "Tag", 7, "C::G", 1, 0, 0, "\x00\xFFz", 3);
    close(handle);
    buffer(handle, "Tag", 1, "F", 1, 0, 0, "late", 4);
    open(module, "tool.exe", "", "");
    text(&dll, "Tag", 1, "F", 1, 0, 0, "stranger");
    text(handle, nullptr, 1, "F", 1, 0, 0, "no tag");
    buffer(handle, "Tag", 1, "F", 1, 0, 0, nullptr, 4);
    open(module, "tool.exe", nullptr, "");
    dll.Unload();
    EXPECT_EQ(ReadAll(folder / L"t"), R"(MISUSE DTTraceStr without a registration
register|tool.exe|""|"a\"b"
filter
128|Tag|C::F|4294967295|a|b\r\n\\ \xE9
1|Tag|C::G|7|buffer 3 00FF7A
unregister
MISUSE DTTraceBuffer without a registration
register|tool.exe|""|""
MISUSE DTTraceStr with an unknown registration
MISUSE DTTraceStr with a null argument
MISUSE DTTraceBuffer with a null argument
MISUSE DTRegisterModule with a null argument
MISUSE DTRegisterModule while registered
register|tool.exe|null|""
MISUSE module left registered
)");
    const std::string misuses = folder.Misuses();
    EXPECT_EQ(std::count(misuses.begin(), misuses.end(), '\n'), 8) << misuses;
}

}  // namespace
}  // namespace lab_test
