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
    HRESULT Get(const std::wstring& entry, const std::wstring& name) {
        OwnedVariant value;
        return Call(kGet, 1L, 0L, Text(L"S").Bstr(), Text(entry).Bstr(), Text(name).Bstr(),
                    value.Receive());
    }

    const Folder m_folder;
    const std::wstring m_path = m_folder / L"x";
    std::unique_ptr<Library> m_dll;
    IUnknown* m_store = nullptr;
};

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

}  // namespace
}  // namespace lab_test
