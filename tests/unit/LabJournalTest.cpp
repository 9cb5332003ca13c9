#include <gtest/gtest.h>

#include "lab/journal/FaultScript.h"
#include "lab/journal/Text.h"

namespace lab {
namespace {

TEST(LabText, TextsThatAreBrokenAreNotRead) {
    EXPECT_EQ(Escape("caf\xE9\"\n"), R"(caf\xE9\"\n)") << "bytes of an unknown code page";
    EXPECT_EQ(Quoted(static_cast<const char*>(nullptr)), "null");
    for (const wchar_t* const broken : {L"\\", L"\\q", L"\\x1", L"\\u12G4"})
        EXPECT_EQ(Unescape(broken), std::nullopt) << broken;
    EXPECT_EQ(ParseAddress(L"10.255.0.2"), 0x0AFF0002u);
    for (const wchar_t* const broken :
         {L"1.2.3", L"1.2.3.4.5", L"1.2.3.256", L"1.2.3.04", L"1..3.4", L"1.2.3.4 "})
        EXPECT_EQ(ParseAddress(broken), std::nullopt) << broken;
}

TEST(LabFaults, TheFirstLineThatFitsACallDecides) {
    std::vector<std::string> errors;
    const FaultScript script(
        "# comment = 1\r\n\r\n  Create #2 = 20052\r\nCreate *=0x8000ffFF\nany #7 = 4294967295\n"
        "Late * = 9\nA 1 = 1\nA #0 = 1\nA #1 1\nA * = 4294967296\nA * = 0x\nA * = -1\n* = 1",
        errors);
    std::string unread;
    for (const std::string& error : errors)
        unread += error.substr(5, 2);
    EXPECT_EQ(unread, "7 8 9 10111213");
    EXPECT_EQ(script.Find("Create", 2, 7).code, 20052u);
    EXPECT_EQ(script.Find("Create", 1, 1).code, 0x8000FFFFu);
    EXPECT_EQ(script.Find("Late", 3, 7).code, 0xFFFFFFFFu) << "any stands before the later line";
    EXPECT_EQ(script.Find("Other", 7, 6).code, 0u);
    EXPECT_EQ(script.Find("Creat", 2, 1).code, 0u) << "names are whole words";
}

}  // namespace
}  // namespace lab
