// The stand-in for the storage component, loaded without any registration.
#include <gtest/gtest.h>

#include <windows.h>

#include <oleauto.h>

#include "LabLibrary.h"
#include "lab/storage/ComServer.h"
#include "lab/storage/TypedText.h"
#include "store/ZakStorageDB.h"

namespace lab_test {
namespace {

using lab::OwnedVariant;
constexpr E_ZAKSTORAGE_VISIBILITY kPublic = E_ZAKSTORAGE_PUBLIC;

struct Text : OwnedVariant {
    explicit Text(const std::wstring& text) {
        VARIANT* const value = Receive();
        value->bstrVal = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        value->vt = VT_BSTR;
    }
    operator BSTR() const { return get().bstrVal; }
    operator VARIANT() const { return get(); }
};

class LabStorage : public testing::Test {
protected:
    /// Initializes the store, or a new one, with this file unless it is empty.
    HRESULT Open(const std::string& file = {}) {
        if (!file.empty())
            WriteAll(m_path, file);
        const HRESULT hr = m_store ? S_OK : Create();
        return FAILED(hr) ? hr : m_store->Initialize(Text(m_path));
    }
    HRESULT Create() {
        if (!m_dll)
            m_dll = std::make_unique<Library>(L"zakstorage.dll", m_folder);
        IClassFactory* factory = nullptr;
        m_dll->Get<HRESULT WINAPI(REFCLSID, REFIID, IClassFactory**)>("DllGetClassObject")(
            CLSID_LabZakStorageDB, IID_IClassFactory, &factory);
        void* made = nullptr;
        const HRESULT hr = factory->CreateInstance(nullptr, IID_IZakStorageDB, &made);
        factory->Release();
        m_store = static_cast<IZakStorageDB*>(made);
        return hr;
    }
    void Release() { std::exchange(m_store, nullptr)->Release(); }
    HRESULT Put(const std::wstring& entry, const std::wstring& name, const std::wstring& text) {
        return m_store->put_Value(kPublic, 0, Text(L"S"), Text(entry), Text(name), Text(text));
    }
    /// The value's text, behind its type when it is no text.
    std::wstring Get(const std::wstring& entry, const std::wstring& name) {
        OwnedVariant value, text;
        HRESULT hr =
            m_store->get_Value(kPublic, 0, Text(L"S"), Text(entry), Text(name), value.Receive());
        VARIANT source = value.get();
        if (FAILED(hr) || FAILED(::VariantChangeTypeEx(text.Receive(), &source, 0x409,
                                                       VARIANT_ALPHABOOL, VT_BSTR)))
            return hr == HRESULT(0x80070490) ? L"(none)" : L"(error)";
        return (source.vt == VT_BSTR ? L"" : std::to_wstring(source.vt) + L":") +
               std::wstring(text.get().bstrVal, ::SysStringLen(text.get().bstrVal));
    }

    const Folder m_folder;
    const std::wstring m_path = m_folder / L"x";
    std::unique_ptr<Library> m_dll;
    IZakStorageDB* m_store = nullptr;
};

TEST_F(LabStorage, TextsAndTypesSurviveTheFile) {
    const std::wstring texts[] = {
        L"", L"  <a>\r\n\t&b\"'\\ \\n \\x41\n ", std::wstring(L"\0\x01\x1F\x7F\x85\u2028", 6),
        L"caf\u00E9 \u4E2D \U0001F600 \xDC00 alone \xD83D \xFFFE\xFFFF\uFEFF",
        std::wstring(40000, L'x') + L"\u20AC"};
    ASSERT_EQ(Open(R"(<store><section name="S"><entry id="e"><value name="X" text="x"/>
        <value name="x" type="i2" text="7"/><value name="r" type="r8" text="1.5"/>
        <value name="b" type="bool" text="true"/><value name="d" type="date" text="3/4/2020"/>
        <value name="a" type="address" text="10.1.0.255"/></entry></section></store>)"),
              S_OK);
    for (const std::wstring& text : texts)
        EXPECT_EQ(Put(L"t" + text, L"name " + text, text), S_OK);
    ASSERT_EQ(m_store->Uninitialize(), S_OK);
    ASSERT_EQ(Open(), S_OK);
    for (const std::wstring& text : texts)
        EXPECT_EQ(Get(L"t" + text, L"NAME " + text), text);
    EXPECT_EQ(Get(L"e", L"X"), L"2:7") << "the later of two";
    EXPECT_EQ(Get(L"e", L"r") + L" " + Get(L"e", L"b"), L"5:1.5 11:True");
    EXPECT_EQ(Get(L"e", L"d") + L" " + Get(L"e", L"a"), L"7:3/4/2020 19:167837951");
    EXPECT_EQ(Get(L"E", L"X") + Get(L"e", L"Y"), L"(none)(none)");
    EXPECT_EQ(m_store->Uninitialize(), S_OK);
    Release();
}

TEST_F(LabStorage, AFileThatIsNoStoreIsRefusedAsAWhole) {
    EXPECT_EQ(Open(), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    std::istringstream files(R"(garbage
<store><section name='S'>
<store>text</store>
<store><section nam='T'/></store>
<store><section name='\q'/></store>
<store><section name='S'/><section name='S'/></store>
<store><section result='list'/></store>
<store><section><entry id='e'/><entry id='e'/></section></store>
<store><section><entry><value type='text'/></entry></section></store>
<store><section><entry><value type='ui4' text='x'/></entry></section></store>
<store><section><entry><value type='address' text='1.2.3.256'/></entry></section></store>
<store><section><entry><value><x/></value></entry></section></store>)");
    for (std::string file; std::getline(files, file);) {
        EXPECT_TRUE(FAILED(Open(file))) << file;
        EXPECT_EQ(Get(L"e", L"n"), L"(error)");
    }
    Release();
    EXPECT_EQ(m_folder.Misuses(), "") << "a caller may go on after a failure to open";
}

TEST_F(LabStorage, TheFileIsReplacedAtTheEndAndOnlyWhenSomethingChanged) {
    const std::string sample = ReadAll(std::wstring(SAMPLE_DIRECTORY) + L"/Zephon.XML");
    const std::string old = sample + "<!-- comments are not kept -->";
    const struct {
        const wchar_t* firstPut;
        bool isRead;  // by a program that would allow writing to it, but not replacing it
        HRESULT expected;
        const std::string& left;
    } rows[] = {{L"10.1.0.1", false, S_OK, old},  // what was there
                {L"10.1.0.9", true, HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), old},
                {L"10.1.0.9", false, S_OK, sample}};
    for (const auto& row : rows) {
        ASSERT_EQ(Open(old), S_OK);
        for (const wchar_t* const text : {row.firstPut, L"10.1.0.1"}) {
            m_store->put_Value(kPublic, 0, Text(L"Segments"), Text(L"10.1.0.0"), Text(L"ADDRESS"),
                               Text(text));
        }
        EXPECT_EQ(ReadAll(m_path), old) << "what a killed process would leave";
        std::ifstream reader(std::filesystem::path(row.isRead ? m_path : L"none"));
        EXPECT_EQ(m_store->Uninitialize(), row.expected);
        EXPECT_EQ(ReadAll(m_path), row.left);
    }
    Release();
}

TEST_F(LabStorage, MisuseIsJournalled) {
    const Text s(L"S"), e(L"e"), n(L"n");
    OwnedVariant owned, taken;
    VARIANT* const out = owned.Receive();
    VARIANT* const number = taken.Receive();
    number->vt = VT_I4;
    ASSERT_EQ(Create(), S_OK);
    EXPECT_EQ(Get(L"e", L"n"), L"(error)");
    ASSERT_EQ(Open("<store/>"), S_OK);
    EXPECT_EQ(m_store->put_Value(kPublic, 0, s, e, n, *number), E_INVALIDARG);
    EXPECT_EQ(m_store->put_Value(kPublic, 0, s, e, nullptr, n), E_INVALIDARG);
    EXPECT_EQ(Put(L"e", L"n", L"t"), S_OK);
    EXPECT_EQ(m_store->get_Value(E_ZAKSTORAGE_VISIBILITY(0), 0, s, e, n, out), E_INVALIDARG);
    EXPECT_EQ(m_store->get_Value(kPublic, 1, s, e, n, out), E_INVALIDARG);
    EXPECT_EQ(m_store->get_Value(kPublic, 0, s, e, n, nullptr), E_POINTER);
    EXPECT_EQ(m_store->get_Value(kPublic, 0, s, e, n, number), S_OK);
    EXPECT_EQ(m_store->Enumerate(kPublic, 0, s, e, out), E_INVALIDARG);
    EXPECT_EQ(m_store->EnumerateWithValue(kPublic, 0, s, e, n, out), E_INVALIDARG);
    EXPECT_EQ(Open(), E_UNEXPECTED);
    EXPECT_EQ(m_store->Unused9(), E_NOTIMPL);
    EXPECT_EQ(m_store->Uninitialize(), S_OK);
    EXPECT_EQ(Get(L"e", L"n"), L"(error)");
    Open();
    EXPECT_EQ(Put(L"e", L"n", L"released"), S_OK);
    Release();
    EXPECT_NE(ReadAll(m_path).find("\"released\""), std::string::npos);
    Open();
    EXPECT_EQ(Put(L"e", L"n", L"unloaded"), S_OK);
    m_dll.reset();
    EXPECT_NE(ReadAll(m_path).find("\"unloaded\""), std::string::npos);
    EXPECT_EQ(m_folder.Misuses(), R"(store get_Value: before Initialize
store put_Value: value is no text: i4 0
store put_Value: entry or value name is null
store get_Value: visibility 0
store get_Value: index 1
store get_Value: out VARIANT is null
store get_Value: out VARIANT is not empty, its content is lost: i4 0
store Enumerate: only sections can be listed, entry is e
store EnumerateWithValue: the unused text is not null
store Initialize: store is open already
store Unused9 called
store get_Value: after Uninitialize
store left open, saved now -> 0x00000000
store left open, saved now -> 0x00000000
store references left: 1
)");
}

TEST_F(LabStorage, PlannedFaultsAnswerAndTheirCountOutlivesTheDll) {
    WriteAll(m_folder / L"f",
             "CreateInstance #3 = 0x80040111\nUninitialize #1 = 5\nget_Value #2 = 0x80004005\n"
             "put_Value #2 = 0x8007000E\n");
    ASSERT_EQ(Open("<store/>"), S_OK);
    EXPECT_EQ(Put(L"e", L"n", L"kept"), S_OK);
    EXPECT_EQ(Get(L"e", L"n"), L"kept");
    EXPECT_EQ(m_store->Uninitialize(), HRESULT{5}) << "saved all the same";
    Release();
    m_dll.reset();
    ASSERT_EQ(Open(), S_OK);
    EXPECT_EQ(Get(L"e", L"n"), L"(error)");  // the second get_Value of the process
    EXPECT_EQ(Put(L"e", L"n", L"new"), E_OUTOFMEMORY);
    EXPECT_EQ(Get(L"e", L"n"), L"kept");
    EXPECT_EQ(m_store->Uninitialize(), S_OK);
    Release();
    EXPECT_EQ(Open(), HRESULT(0x80040111));
}

}  // namespace
}  // namespace lab_test
