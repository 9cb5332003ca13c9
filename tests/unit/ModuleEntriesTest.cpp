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

TEST(EventLogWriter, NamesItsSourceAfterTheModule) {
    DiagTools::CEventLogWriter::Initialize(::GetModuleHandleA("kernel32"), nullptr);
    EXPECT_STRCASEEQ(DiagTools::CEventLogWriter::SourceName().c_str(), "kernel32");
}

TEST(AnsiText, IsCutBetweenCharactersOnly) {
    using DiagTools::WholeCharacters;
    EXPECT_EQ(WholeCharacters("a\x83\\b", 2, 932), 1u) << "both bytes of a character stay together";
    EXPECT_EQ(WholeCharacters("a\x83\\b", 3, 932), 3u) << "and come together";
    EXPECT_EQ(WholeCharacters("a\x83", 9, 932), 2u) << "a lead byte without its second";
}

}  // namespace
