#include "win/ComTypes.h"

#include <gtest/gtest.h>

#include "win/TextConversion.h"

namespace {

// The lab's store cannot return these arrays, so no scenario covers them.
TEST(ArrayView, AnythingButAListOfVariantsIsEmptyAndTheListIsUnlocked) {
    const auto sizeOf = [](SAFEARRAY* array) {
        CComVariant result;
        result.vt = VT_ARRAY | VT_VARIANT;
        result.parray = array;
        const std::size_t size = ArrayView(result).size();
        result.vt = VT_EMPTY;
        EXPECT_EQ(array->cLocks, 0u);
        ::SafeArrayDestroy(array);
        return size;
    };
    EXPECT_EQ(sizeOf(::SafeArrayCreateVector(VT_VARIANT, 2147483640, 7)), 7u);
    EXPECT_EQ(sizeOf(::SafeArrayCreateVector(VT_BSTR, 0, 3)), 0u) << "BSTRs, labeled VARIANT";
    SAFEARRAYBOUND bounds[] = {{2, 0}, {1, 0}};
    EXPECT_EQ(sizeOf(::SafeArrayCreate(VT_VARIANT, 2, bounds)), 0u) << "two dimensions";
    SAFEARRAY* unfilled = nullptr;
    ::SafeArrayAllocDescriptorEx(VT_VARIANT, 1, &unfilled);
    unfilled->rgsabound[0] = {3, 0};
    EXPECT_EQ(sizeOf(unfilled), 0u) << "no data";
}

TEST(ComApartment, IsLeftOnceAndOnlyIfEntered) {
    for (const DWORD mode : {COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED}) {
        ASSERT_EQ(::CoInitializeEx(nullptr, mode), S_OK);
        CComApartment apartment;
        apartment.Enter();
        apartment.Leave();
        apartment.Leave();
        APTTYPE type{};
        APTTYPEQUALIFIER qualifier{};
        EXPECT_EQ(::CoGetApartmentType(&type, &qualifier), S_OK) << mode;
        ::CoUninitialize();
    }
}

TEST(TextConversion, UsesTheThreadsCodePage) {
    const LCID before = ::GetThreadLocale();
    ::SetThreadLocale(MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_DEFAULT), SORT_DEFAULT));
    EXPECT_EQ(NarrowText(L"a\x3042"), "a\x82\xa0");
    EXPECT_STREQ(WideText("a\x82\xa0").c_str(), L"a\x3042");
    ::SetThreadLocale(before);
}

}  // namespace
