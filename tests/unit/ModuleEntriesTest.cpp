#include <gtest/gtest.h>
#include <windows.h>

#include "diagtools/AnsiText.h"
#include "diagtools/EventLogWriter.h"

namespace {

/// By name, as a COM client finds them: the test program links the module like the tool does.
template <class Function>
Function* Entry(const char* name) {
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA(nullptr), name)));
}

TEST(ComModule, ExportsTheSelfRegistrationEntriesAndHasNoClasses) {
    for (const char* name : {"DllRegisterServer", "DllUnregisterServer", "DllCanUnloadNow"}) {
        SCOPED_TRACE(name);
        auto* const entry = Entry<HRESULT STDAPICALLTYPE()>(name);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(entry(), S_OK);
    }
    auto* const getClass =
        Entry<HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**)>("DllGetClassObject");
    ASSERT_NE(getClass, nullptr);
    void* object = &object;
    EXPECT_EQ(getClass(GUID_NULL, GUID_NULL, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(getClass(GUID_NULL, GUID_NULL, nullptr), E_POINTER);
}

TEST(EventLogWriter, NamesItsSourceAfterTheModuleUnlessToldOtherwise) {
    using Writer = DiagTools::CEventLogWriter;
    Writer::Initialize(nullptr, nullptr);
    EXPECT_EQ(Writer::SourceName(), "unit_tests");
    Writer::Initialize(::GetModuleHandleA("kernel32"), nullptr);
    EXPECT_STRCASEEQ(Writer::SourceName().c_str(), "kernel32");
    Writer::Initialize(nullptr, "Named");
    EXPECT_EQ(Writer::SourceName(), "Named");
}

TEST(AnsiText, IsCutBetweenCharactersOnly) {
    const struct {
        const char* why;
        const char* text;
        std::size_t maxBytes;
        std::size_t expected;
    } rows[] = {
        {"single bytes", "abc", 2, 2},
        {"shorter than allowed", "abc", 9, 3},
        {"nothing to cut", "", 9, 0},
        {"both bytes of a character stay together", "a\x83\\b", 2, 1},
        {"and come together", "a\x83\\b", 3, 3},
        {"a lead byte without its second", "a\x83", 9, 2},
        {"the code of a backslash is no character here", "\x83\\", 1, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(DiagTools::WholeCharacters(row.text, row.maxBytes, 932), row.expected);
    }
}

}  // namespace
