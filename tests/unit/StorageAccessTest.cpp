// How the store is opened and left, with a component of the test's own.
#include "store/StorageAccess.h"

#include <gtest/gtest.h>

namespace {

constexpr CLSID kClassId = {
    0x0a1b2c3d, 0x1111, 0x2222, {0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xaa}};
constexpr char kProgIdKey[] = "SOFTWARE\\Classes\\Granite.ZakStorageDB";

/// Component and class factory in one; never goes away.
class Component final : public IZakStorageDB, public IClassFactory {
public:
    HRESULT opened = S_OK;
    bool isNull = false;
    std::string calls;
    int references = 0;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        ++references;
        *object = iid == IID_IZakStorageDB ? static_cast<void*>(static_cast<IZakStorageDB*>(this))
                                           : static_cast<IClassFactory*>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override {
        *object = nullptr;
        return isNull ? S_OK : QueryInterface(iid, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Initialize(BSTR) override {
        calls += "open ";
        return opened;
    }
    HRESULT STDMETHODCALLTYPE Uninitialize() override {
        calls += "close ";
        return S_OK;
    }
    using Kind = E_ZAKSTORAGE_VISIBILITY;
    HRESULT STDMETHODCALLTYPE get_Value(Kind, long, BSTR, BSTR, BSTR, VARIANT*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE put_Value(Kind, long, BSTR, BSTR, BSTR, VARIANT) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Enumerate(Kind, long, BSTR, BSTR, VARIANT*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE EnumerateWithValue(Kind, long, BSTR, BSTR, BSTR, VARIANT*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Unused4() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Unused7() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Unused8() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Unused9() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Unused10() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Unused11() override { return E_NOTIMPL; }
};

struct Store : CStorageAccess {
    using CStorageAccess::Initialize;
    using CStorageAccess::Uninitialize;
};

TEST(StorageAccess, IsClosedAsItWasOpenedAndLeavesAnApartmentThatWasThere) {
    ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    constexpr char kClassText[] = "{0A1B2C3D-1111-2222-3344-5566778899AA}";
    ::RegSetKeyValueA(HKEY_LOCAL_MACHINE, (std::string(kProgIdKey) + "\\CLSID").c_str(), nullptr,
                      REG_SZ, kClassText, sizeof(kClassText));
    Component component;
    DWORD registration = 0;
    ASSERT_EQ(::CoRegisterClassObject(kClassId, static_cast<IClassFactory*>(&component),
                                      CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &registration),
              S_OK);
    const struct {
        const char* why;
        bool isNull;
        HRESULT opened;
        HRESULT expected;
        const char* calls;
    } rows[] = {
        {"opened, so closed", false, S_OK, S_OK, "open close "},
        {"not opened, so only released", false, E_FAIL, E_FAIL, "open "},
        {"a component that is none", true, S_OK, E_POINTER, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        component.isNull = row.isNull;
        component.opened = row.opened;
        component.calls.clear();
        const int references = component.references;
        Store store;
        EXPECT_EQ(store.Initialize(), row.expected);
        EXPECT_EQ(store.Uninitialize(), S_OK);
        EXPECT_EQ(component.calls, row.calls);
        EXPECT_EQ(component.references, references);
        APTTYPE type{};
        APTTYPEQUALIFIER qualifier{};
        EXPECT_EQ(::CoGetApartmentType(&type, &qualifier), S_OK);
        EXPECT_EQ(type, APTTYPE_MAINSTA);
    }
    ::CoRevokeClassObject(registration);
    ::RegDeleteTreeA(HKEY_LOCAL_MACHINE, kProgIdKey);
    ::CoUninitialize();
}

}  // namespace
