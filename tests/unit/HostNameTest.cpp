#include "scopes/HostName.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace {

TEST(HostName, OnlySingleByteLettersAreUppercased) {
    EXPECT_EQ(FirstLabel("PC12.corp.local"), "PC12");
    EXPECT_EQ(CaselessName("Pc-12\xe9"), "PC-12\xe9");
    const LCID before = ::GetThreadLocale();
    ::SetThreadLocale(MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_DEFAULT), SORT_DEFAULT));
    EXPECT_EQ(CaselessName("a\x83\x61z"), "A\x83\x61Z") << "the second byte is not a letter";
    ::SetThreadLocale(before);
}

}  // namespace
