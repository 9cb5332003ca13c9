#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>

namespace {

// The module is linked as in the program; script/test checks the exports of the program.
TEST(Program, HasNoComClasses) {
    int there = 0;
    void* object = &there;
    EXPECT_EQ(::DllGetClassObject(CLSID_NULL, IID_IUnknown, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(::DllGetClassObject(CLSID_NULL, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(::DllCanUnloadNow(), S_OK);
}

TEST(Program, HasAManifestThatTheSystemReads) {
    ACTCTXW context{};
    context.cbSize = sizeof(context);
    context.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
    context.lpSource = LAB_DIRECTORY L"/dhcpmigrate.exe";
    context.lpResourceName = MAKEINTRESOURCEW(1);
    const HANDLE created = ::CreateActCtxW(&context);
    EXPECT_NE(created, INVALID_HANDLE_VALUE) << "without it the program would not start";
    ::ReleaseActCtx(created);
}

}  // namespace
