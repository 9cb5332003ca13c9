#include <gtest/gtest.h>

#include "lab/journal/FaultScript.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

TEST(LabJournal, TextsFitOneLineOfUtf8AndComeBack) {
    const struct {
        const char* why;
        std::wstring text;
        std::string escaped;
    } rows[] = {
        {"blanks stay", L"  a b ", "  a b "},
        {"line ends, quotes, backslash", L"\r\n\t\"\\x41", R"(\r\n\t\"\\x41)"},
        {"control characters, NUL too", std::wstring(L"\0\x01\x7F", 3), R"(\x00\x01\x7F)"},
        {"two, three and four bytes", L"\u00E9\u20AC\U0001F600",
         "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"halves of a pair", L"\xD83D.\xDE00\xD83D", R"(\uD83D.\uDE00\uD83D)"},
        {"line ends to other readers, no XML", L"\x85\u2028\xFFFF", R"(\u0085\u2028\uFFFF)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(Escape(row.text), row.escaped);
        // Only the escapes matter on the way back: the bytes of UTF-8 are another reader's work.
        const std::wstring wide(row.escaped.begin(), row.escaped.end());
        const bool isAscii = wide.find_first_of(L"\xC3\xFFE2\xFFC3") == std::wstring::npos;
        EXPECT_TRUE(!isAscii || Unescape(wide) == row.text);
    }
    EXPECT_EQ(Escape("caf\xE9\"\n"), R"(caf\xE9\"\n)");
    EXPECT_EQ(Quoted(static_cast<const char*>(nullptr)), "null");
    for (const wchar_t* const broken : {L"\\", L"\\q", L"\\x1", L"\\u12G4"})
        EXPECT_EQ(Unescape(broken), std::nullopt) << broken;
    EXPECT_EQ(Dotted(0x0AFF0102), "10.255.1.2");
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
    const struct {
        const char* why;
        const char* function;
        std::uint64_t call, anyCall;
        std::optional<DWORD> code;
    } rows[] = {
        {"counted before every", "Create", 2, 7, 20052},
        {"every call", "Create", 1, 1, 0x8000FFFF},
        {"any, for a function without lines", "Other", 1, 7, 0xFFFFFFFF},
        {"any stands before the later line", "Late", 3, 7, 0xFFFFFFFF},
        {"no line fits", "Other", 7, 6, std::nullopt},
        {"names are whole words", "Creat", 2, 1, std::nullopt},
    };
    for (const auto& row : rows)
        EXPECT_EQ(script.Find(row.function, row.call, row.anyCall), row.code) << row.why;
}

}  // namespace
}  // namespace lab
