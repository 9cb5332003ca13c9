#include <gtest/gtest.h>

#include "LabLibrary.h"

namespace lab_test {
namespace {

using Open = void*(HMODULE, const char*, const char*, const char*);
using TraceText = void(void*, const char*, unsigned, const char*, unsigned, unsigned, unsigned,
                       const char*);

TEST(LabTraceClient, MisuseIsJournalled) {
    const Folder folder;
    Library dll(L"DTClient.dll", folder);
    auto* const open = dll.Get<Open>("DTRegisterModule");
    auto* const text = dll.Get<TraceText>("DTTraceStr");
    const HMODULE module = ::GetModuleHandleW(nullptr);
    text(nullptr, "Tag", 1, "F", 1, 0, 0, "too early");
    void* const handle = open(module, "tool.exe", "", "");
    text(&dll, "Tag", 1, "F", 1, 0, 0, "stranger");
    text(handle, nullptr, 1, "F", 1, 0, 0, "no tag");
    text(handle, "Tag", 1, "F", 1, 0, 9, "reserved");
    open(module, "tool.exe", nullptr, "");
    dll.Unload();
    EXPECT_EQ(folder.Misuses(), R"(trace DTTraceStr without a registration
trace DTTraceStr with an unknown registration
trace DTTraceStr with a null argument, or a reserved one filled
trace DTTraceStr with a null argument, or a reserved one filled
trace DTRegisterModule with a null argument
trace DTRegisterModule while registered
trace module left registered
)");
}

}  // namespace
}  // namespace lab_test
