#include "store/StorageAccess.h"

#include <gtest/gtest.h>

namespace {

struct Store : CStorageAccess {
    using CStorageAccess::Initialize;
    using CStorageAccess::Uninitialize;
};

TEST(StorageAccess, LeavesAnApartmentThatWasThere) {
    ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    Store store;
    store.Initialize();
    EXPECT_EQ(store.Uninitialize(), S_OK);
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    EXPECT_EQ(::CoGetApartmentType(&type, &qualifier), S_OK);
    EXPECT_EQ(type, APTTYPE_MAINSTA);
    ::CoUninitialize();
}

}  // namespace
