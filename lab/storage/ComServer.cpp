// zakstorage.dll: class factory, registration and the check for objects left at unload.
#include <windows.h>

#include <olectl.h>

#include <new>
#include <string>
#include <vector>

#include "lab/journal/FaultScript.h"
#include "lab/journal/Journal.h"
#include "lab/storage/StorageComponent.h"

namespace {

/// The ProgID of the gateway's own component.
constexpr wchar_t kStorageProgId[] = L"Granite.ZakStorageDB";
/// The class id under which zakstorage.dll registers that ProgID.
constexpr CLSID kClassId = {
    0xb2f6a7c4, 0x58d1, 0x4c0e, {0x8f, 0x3b, 0x94, 0xe1, 0x7d, 0x2a, 0x6c, 0x05}};
constexpr wchar_t kClassIdText[] = L"{b2f6a7c4-58d1-4c0e-8f3b-94e17d2a6c05}";
constexpr wchar_t kTypeLibIdText[] = L"{b8c857ca-f21b-428b-ae26-799b5353b341}";
constexpr wchar_t kTitle[] = L"Storage component (stand-in)";

HMODULE thisModule = nullptr;

/// A static object that is never freed: it does not count references.
class ClassFactory final : public IClassFactory {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (!object)
            return E_POINTER;
        const bool isKnown =
            ::IsEqualIID(iid, IID_IUnknown) || ::IsEqualIID(iid, IID_IClassFactory);
        *object = isKnown ? static_cast<IClassFactory*>(this) : nullptr;
        return isKnown ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
        const HRESULT hr = Create(outer, iid, object);
        lab::Journal("store CreateInstance -> " + lab::Hex(static_cast<std::uint32_t>(hr)));
        return hr;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

private:
    static HRESULT Create(IUnknown* outer, REFIID iid, void** object) {
        if (!object)
            return E_POINTER;
        *object = nullptr;
        if (outer)
            return CLASS_E_NOAGGREGATION;
        if (const lab::Fault fault = lab::FaultFor("CreateInstance"); fault.code)
            return static_cast<HRESULT>(fault.code);
        auto* const component = new (std::nothrow) lab::StorageComponent();
        if (!component)
            return E_OUTOFMEMORY;
        const HRESULT hr = component->QueryInterface(iid, object);
        component->Release();
        return hr;
    }
};

ClassFactory theFactory;

struct KeyValue {
    std::wstring key;  // below HKEY_CLASSES_ROOT
    const wchar_t* name;
    std::wstring text;
};

/// The registry values of the DLL at `path`.
std::vector<KeyValue> Registration(const std::wstring& path) {
    const std::wstring classKey = std::wstring(L"CLSID\\") + kClassIdText;
    const std::wstring typeLibKey = std::wstring(L"TypeLib\\") + kTypeLibIdText + L"\\1.a";
    const std::wstring progIdKey = kStorageProgId;
    return {{progIdKey, nullptr, kTitle},
            {progIdKey + L"\\CLSID", nullptr, kClassIdText},
            {classKey, nullptr, kTitle},
            {classKey + L"\\ProgID", nullptr, kStorageProgId},
            {classKey + L"\\TypeLib", nullptr, kTypeLibIdText},
            {classKey + L"\\Version", nullptr, L"1.10"},
            {classKey + L"\\InprocServer32", nullptr, path},
            {classKey + L"\\InprocServer32", L"ThreadingModel", L"Both"},
            {typeLibKey, nullptr, kTitle},
            {typeLibKey + L"\\FLAGS", nullptr, L"0"},
            {typeLibKey + L"\\0\\win64", nullptr, path}};
}

}  // namespace

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH)
        thisModule = module;
    else if (reason == DLL_PROCESS_DETACH && lab::StorageComponent::liveObjects > 0)
        lab::JournalMisuse("store references left: " +
                           std::to_string(lab::StorageComponent::liveObjects));
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID classId, REFIID iid, void** object) {
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (!::IsEqualCLSID(classId, kClassId))
        return CLASS_E_CLASSNOTAVAILABLE;
    return theFactory.QueryInterface(iid, object);
}

STDAPI DllCanUnloadNow() {
    return lab::StorageComponent::liveObjects == 0 ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer() {
    std::wstring path(32768, L'\0');
    path.resize(::GetModuleFileNameW(thisModule, path.data(), static_cast<DWORD>(path.size())));
    for (const KeyValue& value : Registration(path))
        if (::RegSetKeyValueW(
                HKEY_CLASSES_ROOT, value.key.c_str(), value.name, REG_SZ, value.text.c_str(),
                static_cast<DWORD>((value.text.size() + 1) * sizeof(wchar_t))) != ERROR_SUCCESS)
            return SELFREG_E_CLASS;
    return S_OK;
}

STDAPI DllUnregisterServer() {
    bool isDone = true;
    for (const std::wstring& key :
         {std::wstring(kStorageProgId), L"CLSID\\" + std::wstring(kClassIdText),
          L"TypeLib\\" + std::wstring(kTypeLibIdText)}) {
        const LSTATUS status = ::RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
        isDone = isDone && (status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND);
    }
    return isDone ? S_OK : SELFREG_E_CLASS;
}
