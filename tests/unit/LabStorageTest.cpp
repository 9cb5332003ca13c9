// The stand-in for the storage component, called by the slots of its interface.
#include <gtest/gtest.h>

#include <windows.h>

#include <oleauto.h>

#include <memory>

#include "LabLibrary.h"
#include "lab/storage/StoreValue.h"

namespace lab_test {
namespace {

using lab::OwnedVariant;

// Of the class; here of the interface, too.
constexpr wchar_t kClassText[] = L"{b2f6a7c4-58d1-4c0e-8f3b-94e17d2a6c05}";
constexpr CLSID kClass = {
    0xb2f6a7c4, 0x58d1, 0x4c0e, {0x8f, 0x3b, 0x94, 0xe1, 0x7d, 0x2a, 0x6c, 0x05}};
enum Slot { kInitialize = 3, kGet, kPut, kUninitialize = 7, kList, kUnused = 11, kListValues = 14 };

struct Text : OwnedVariant {
    explicit Text(const std::wstring& text) {
        VARIANT* const value = Receive();
        value->bstrVal = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        value->vt = VT_BSTR;
    }
    BSTR Bstr() const { return get().bstrVal; }
};

class LabStorage : public testing::Test {
protected:
    /// Initializes the store, or a new one, with this file unless it is empty.
    HRESULT Open(const std::string& file = {}) {
        if (!file.empty())
            WriteAll(m_path, file);
        const HRESULT hr = m_store ? S_OK : Create();
        return FAILED(hr) ? hr : Call(kInitialize, Text(m_path).Bstr());
    }
    HRESULT Create() {
        if (!m_dll)
            m_dll = std::make_unique<Library>(
                L"zakstorage.dll", m_folder,
                std::map<std::wstring, std::wstring>{{L"STORAGE_IID", kClassText}});
        IClassFactory* factory = nullptr;
        m_dll->Get<HRESULT WINAPI(REFCLSID, REFIID, IClassFactory**)>("DllGetClassObject")(
            kClass, IID_IClassFactory, &factory);
        return factory->CreateInstance(nullptr, kClass, reinterpret_cast<void**>(&m_store));
    }
    void Release() { std::exchange(m_store, nullptr)->Release(); }
    template <class... Arguments>
    HRESULT Call(Slot slot, Arguments... arguments) {
        using Function = HRESULT(STDMETHODCALLTYPE*)(void*, Arguments...);
        void* const* const table = *reinterpret_cast<void***>(m_store);
        return reinterpret_cast<Function>(table[slot])(m_store, arguments...);
    }
    HRESULT Put(const std::wstring& entry, const std::wstring& name, const std::wstring& text) {
        return Call(kPut, 1L, 0L, Text(L"S").Bstr(), Text(entry).Bstr(), Text(name).Bstr(),
                    Text(text).get());
    }
    /// The value's text; of a number its type and content.
    std::wstring Get(const std::wstring& entry, const std::wstring& name) {
        OwnedVariant value;
        const HRESULT hr = Call(kGet, 1L, 0L, Text(L"S").Bstr(), Text(entry).Bstr(),
                                Text(name).Bstr(), value.Receive());
        const VARIANT& got = value.get();
        return hr != S_OK          ? hr == HRESULT(0x80070490) ? L"(none)" : L"(error)"
               : got.vt == VT_BSTR ? std::wstring(got.bstrVal, ::SysStringLen(got.bstrVal))
                                   : std::to_wstring(got.vt) + L":" + std::to_wstring(got.ulVal);
    }

    const Folder m_folder;
    const std::wstring m_path = m_folder / L"x";
    std::unique_ptr<Library> m_dll;
    IUnknown* m_store = nullptr;
};

TEST_F(LabStorage, TextsAndTypesSurviveTheFile) {
    const std::wstring texts[] = {
        L"", L"  <a>\r\n\t&b\"'\\ \\n \\x41\n ", std::wstring(L"\0\x01\x1F\x7F\x85\u2028", 6),
        L"caf\u00E9 \u4E2D \U0001F600 \xDC00 alone \xD83D \xFFFE\xFFFF\uFEFF"};
    ASSERT_EQ(
        Open(R"(<store><!-- not kept --><section name="S"><entry id="e"><value name="X" text="x"/>
        <value name="x" type="i4" text="7"/><value name="a" type="address" text="10.1.0.255"/>
        </entry></section></store>)"),
        S_OK);
    EXPECT_EQ(Put(L"e", L"X", L"8"), S_OK) << "the later of two, whatever its case";
    for (const std::wstring& text : texts)
        EXPECT_EQ(Put(L"t" + text, L"name " + text, text), S_OK);
    EXPECT_NE(ReadAll(m_path).find("not kept"), std::string::npos) << "written at the end only";
    ASSERT_EQ(Call(kUninitialize), S_OK);
    ASSERT_EQ(Open(), S_OK);
    for (const std::wstring& text : texts)
        EXPECT_EQ(Get(L"t" + text, L"NAME " + text), text);
    EXPECT_EQ(Get(L"e", L"x") + L" " + Get(L"e", L"a"), L"8 19:167837951");
    EXPECT_EQ(Get(L"E", L"X") + Get(L"e", L"Y"), L"(none)(none)");
    EXPECT_EQ(Call(kUninitialize), S_OK);
    Release();
}

TEST_F(LabStorage, AFileThatIsNoStoreIsRefusedAsAWhole) {
    for (const char* const file :
         {"garbage", "<store></stores>", "<store/><store/>", "<store><section nam='T'/></store>",
          "<store><section name='\\q'/></store>", "<store><section result='list'/></store>",
          "<store><section><entry id='e'/><entry id='e'/></section></store>",
          "<store><section><entry><value type='ui4' text='x'/></entry></section></store>"}) {
        EXPECT_EQ(Open(file), HRESULT_FROM_WIN32(ERROR_INVALID_DATA)) << file;
        EXPECT_EQ(Get(L"e", L"n"), L"(error)") << "no misuse: a caller may go on";
    }
    Release();
    EXPECT_EQ(m_folder.Misuses(), "");
}

TEST_F(LabStorage, MisuseIsJournalled) {
    const Text section(L"S"), entry(L"e"), name(L"n");
    const BSTR s = section.Bstr(), e = entry.Bstr(), n = name.Bstr();
    OwnedVariant owned, taken;
    VARIANT* const out = owned.Receive();
    VARIANT* const number = taken.Receive();
    number->vt = VT_I4;
    Create();
    Get(L"e", L"n");
    ASSERT_EQ(Open("<store/>"), S_OK);
    EXPECT_EQ(Call(kPut, 1L, 0L, s, e, n, *number), E_INVALIDARG);
    EXPECT_EQ(Call(kGet, 2L, 0L, s, e, n, out), E_INVALIDARG);
    EXPECT_EQ(Call(kGet, 1L, 1L, s, e, n, out), E_INVALIDARG);
    Call(kGet, 1L, 0L, s, e, n, number);
    EXPECT_EQ(Call(kList, 1L, 0L, s, e, out), E_INVALIDARG);
    EXPECT_EQ(Call(kListValues, 1L, 0L, s, e, n, out), E_INVALIDARG);
    Open();
    Call(kUnused);
    Call(kUninitialize);
    Get(L"e", L"n");
    Open();
    Put(L"e", L"n", L"unloaded");
    m_dll.reset();
    EXPECT_NE(ReadAll(m_path).find("\"unloaded\""), std::string::npos);
    EXPECT_EQ(m_folder.Misuses(), R"(store get_Value: before Initialize
store put_Value: value is no text
store get_Value: visibility 2
store get_Value: index 1
store get_Value: out VARIANT is not empty, its content is lost: i4 0
store Enumerate: an entry given, only sections can be listed
store EnumerateWithValue: the unused text is not null
store Initialize: store is open already
store Unused9 called
store get_Value: after Uninitialize
store left open, saved now -> 0x00000000
store references left: 1
)");
}

TEST_F(LabStorage, PlannedFaultsAnswerAndTheirCountOutlivesTheDll) {
    WriteAll(m_folder / L"f",
             "# comment\r\nCreateInstance #2 = 0\nUninitialize #1 = 5\n"
             "any * = \nget_Value #0 = 1\nput_Value 1 = 1\nput_Value * = 4294967296\n"
             "get_Value #2 = 6\nCreateInstance * = 0\nput_Value #3 = done 0x7\n");
    ASSERT_EQ(Open("<store/>"), S_OK);
    Put(L"e", L"n", L"kept");
    EXPECT_EQ(Get(L"e", L"n"), L"kept");
    EXPECT_EQ(Call(kUninitialize), HRESULT{5}) << "saved all the same";
    Release();
    m_dll.reset();
    EXPECT_EQ(m_folder.Misuses().substr(0, 38), "faults line 4 not understood: any * = ");
    ASSERT_EQ(Open(), S_OK) << "0 is no fault";
    EXPECT_EQ(Get(L"e", L"n"), L"(error)") << "the second one since the script was written";
    EXPECT_EQ(Put(L"e", L"n", L"new"), S_OK);
    EXPECT_EQ(Put(L"e", L"n", L"done"), HRESULT{7});
    EXPECT_EQ(Get(L"e", L"n"), L"done") << "only the answer was lost";
    Call(kUninitialize);
    Release();
    WriteAll(m_folder / L"f", "CreateInstance #1 = 0x80004001\n");
    m_dll.reset();
    EXPECT_EQ(Open(), E_NOTIMPL) << "a new script counts anew";
}

}  // namespace
}  // namespace lab_test
