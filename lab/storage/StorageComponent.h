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

/// Id of the stand-in's interface. Callers find it in the type library of zakstorage.dll.
inline constexpr IID IID_LabZakStorageDB = {
    0xe60eec85, 0xad99, 0x4c17, {0x9e, 0x77, 0xab, 0xa0, 0x3d, 0x28, 0xce, 0x17}};

/// The storage component on a store file. Journals every call. Stricter than a real one: reports
/// every forbidden use as misuse, even if harmless. A failed Initialize is not misuse, and neither
/// are the calls after it, which return E_UNEXPECTED.
class StorageComponent final : public IUnknown {
public:
    StorageComponent();

    static std::atomic<long> liveObjects;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override;

    // The order of these functions is the interface: the fourth to fifteenth, after IUnknown's
    // three. A call of an unused one means that the caller has another order.
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
    /// Performs the checks that all calls on an open store share. A failure is the call's result.
    HRESULT Check(const Call& call, BSTR section, const char* misuse, Fault& fault);
    HRESULT CheckOpen(const Call& call);
    /// Executes a call that reads, and returns what it read in `out`.
    HRESULT Read(const Call& call, BSTR section, const char* misuse, VARIANT* out,
                 const std::function<HRESULT(OwnedVariant&)>& read);

    std::mutex m_mutex;
    std::atomic<ULONG> m_references{1};
    State m_state = State::New;
    StoreFile m_file;
};

}  // namespace lab
