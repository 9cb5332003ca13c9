// Stand-in for the gateway's storage component: the COM object.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>

#include "lab/journal/FaultScript.h"
#include "lab/storage/StoreFile.h"

namespace lab {

/// Id of the stand-in's interface. Callers learn it from the type library in zakstorage.dll.
inline constexpr IID IID_LabZakStorageDB = {
    0xe60eec85, 0xad99, 0x4c17, {0x9e, 0x77, 0xab, 0xa0, 0x3d, 0x28, 0xce, 0x17}};

/// The storage component over a store file, journalling every call. It is stricter than a real
/// one: what the interface does not allow is reported as misuse, even where it does no harm.
///
/// A failed Initialize is no misuse, and neither is any call after it: E_UNEXPECTED is all it gets.
class StorageComponent final : public IUnknown {
public:
    StorageComponent();

    /// Objects that somebody still holds.
    static std::atomic<long> liveObjects;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override;

    // The interface is this order of functions, fourth to fifteenth behind IUnknown's three. A
    // call of an unused one means that the caller has another order.
    virtual HRESULT STDMETHODCALLTYPE Initialize(BSTR path);
    virtual HRESULT STDMETHODCALLTYPE get_Value(long visibility, long index, BSTR section,
                                                BSTR entry, BSTR name, VARIANT* value);
    virtual HRESULT STDMETHODCALLTYPE put_Value(long visibility, long index, BSTR section,
                                                BSTR entry, BSTR name, VARIANT value);
    virtual HRESULT STDMETHODCALLTYPE Unused4() { return Unused("Unused4"); }
    virtual HRESULT STDMETHODCALLTYPE Uninitialize();
    virtual HRESULT STDMETHODCALLTYPE Enumerate(long visibility, long index, BSTR section,
                                                BSTR entry, VARIANT* entries);
    virtual HRESULT STDMETHODCALLTYPE Unused7() { return Unused("Unused7"); }
    virtual HRESULT STDMETHODCALLTYPE Unused8() { return Unused("Unused8"); }
    virtual HRESULT STDMETHODCALLTYPE Unused9() { return Unused("Unused9"); }
    virtual HRESULT STDMETHODCALLTYPE Unused10() { return Unused("Unused10"); }
    virtual HRESULT STDMETHODCALLTYPE Unused11() { return Unused("Unused11"); }
    virtual HRESULT STDMETHODCALLTYPE EnumerateWithValue(long visibility, long index, BSTR section,
                                                         BSTR entry, BSTR unused, VARIANT* pairs);

private:
    enum class State { New, Failed, Open, Closed };
    struct Call;

    ~StorageComponent();
    static HRESULT Unused(const char* function);
    /// The checks that all calls on an open store share; a failure is the call's answer.
    HRESULT Check(const Call& call, BSTR section, const char* misuse, Fault& fault);
    HRESULT CheckOpen(const Call& call);
    /// A call that only reads, and hands out what it has read.
    HRESULT Read(const Call& call, BSTR section, const char* misuse, VARIANT* out,
                 const std::function<HRESULT(OwnedVariant&)>& read);

    std::mutex m_mutex;
    std::atomic<ULONG> m_references{1};
    State m_state = State::New;
    StoreFile m_file;
};

}  // namespace lab
