#include "diagtools/RuntimeLibrary.h"

#include <gtest/gtest.h>

#include "scopes/IpConf.h"

namespace {

TEST(RuntimeLibrary, IsThereWithAllItsEntriesOrFailsForGood) {
    static constexpr const char* kNames[] = {"GetTickCount", "NoSuchEntry"};
    DiagTools::CRuntimeLibrary<2> library("kernel32.dll", DiagTools::kSystemLibrary, kNames);
    EXPECT_EQ(library.Load(), DWORD{ERROR_PROC_NOT_FOUND});
    EXPECT_EQ(library.Found(), 1u);
    library.Unload();
    EXPECT_EQ(library.Load(), DWORD{ERROR_PROC_NOT_FOUND}) << "not tried again";
}

TEST(IpConf, KeepsItsLibraryForTheNextLook) {
    ASSERT_NE(CIpConf::Take(), nullptr);
    EXPECT_NE(::GetModuleHandleA("iphlpapi.dll"), nullptr);
}

}  // namespace
