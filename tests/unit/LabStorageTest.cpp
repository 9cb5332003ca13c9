// Misuse that the storage component tolerates must be reported by its stand-in.
#include <gtest/gtest.h>
#include <windows.h>

#include <oleauto.h>

#include "LabLibrary.h"

namespace lab_test {
namespace {

// The id of the class, used here for the interface, too.
constexpr wchar_t kClassText[] = L"{b2f6a7c4-58d1-4c0e-8f3b-94e17d2a6c05}";
constexpr CLSID kClass = {
    0xb2f6a7c4, 0x58d1, 0x4c0e, {0x8f, 0x3b, 0x94, 0xe1, 0x7d, 0x2a, 0x6c, 0x05}};

TEST(LabStorage, MisuseIsJournaled) {
    const Folder folder;
    WriteAll(folder / L"x", "<store/>");
    Library dll(L"zakstorage.dll", folder, {{L"STORAGE_IID", kClassText}});
    IClassFactory* factory = nullptr;
    dll.Get<HRESULT WINAPI(REFCLSID, REFIID, IClassFactory**)>("DllGetClassObject")(
        kClass, IID_IClassFactory, &factory);
    void*** store = nullptr;  // called through its vtable
    factory->CreateInstance(nullptr, kClass, reinterpret_cast<void**>(&store));
    const BSTR path = ::SysAllocString((folder / L"x").c_str());
    const BSTR name = ::SysAllocString(L"n");
    VARIANT value{};
    value.vt = VT_BSTR;
    value.bstrVal = name;
    reinterpret_cast<HRESULT(STDMETHODCALLTYPE*)(void*, BSTR)>((*store)[3])(store, path);
    const auto put =
        reinterpret_cast<HRESULT(STDMETHODCALLTYPE*)(void*, long, long, BSTR, BSTR, BSTR, VARIANT)>(
            (*store)[5]);
    put(store, 1, 0, name, name, name, value);
    value.vt = VT_I4;
    EXPECT_EQ(put(store, 1, 0, name, name, name, value), E_INVALIDARG);
    reinterpret_cast<HRESULT(STDMETHODCALLTYPE*)(void*, long, long, BSTR, BSTR, BSTR, VARIANT*)>(
        (*store)[4])(store, 1, 0, name, name, name, &value);
    reinterpret_cast<IUnknown*>(store)->Release();
    factory->CreateInstance(nullptr, kClass, reinterpret_cast<void**>(&store));
    dll.Unload();
    const std::string journal = ReadAll(folder / L"j");
    for (const char* line :
         {"MISUSE store put_Value: value is no text\n",
          "MISUSE store get_Value: out VARIANT is not empty, its content is lost: i4 ",
          "MISUSE store left open, its changes are lost\n", "MISUSE store references left: 1\n"})
        EXPECT_NE(journal.find(line), std::string::npos) << journal;
}

}  // namespace
}  // namespace lab_test
