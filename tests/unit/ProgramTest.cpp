#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>

namespace {

// The COM entry points are linked into this test; script/test checks that the program exports them.
TEST(Program, HasNoComClasses) {
    int there = 0;
    void* object = &there;
    EXPECT_EQ(::DllGetClassObject(CLSID_NULL, IID_IUnknown, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(::DllGetClassObject(CLSID_NULL, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(::DllCanUnloadNow(), S_OK);
}

TEST(Program, HasAManifestThatWindowsReads) {
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
