// Stand-in for the gateway's storage component: the COM object.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "lab/storage/StoreFile.h"
#include "store/ZakStorageDB.h"

namespace lab {

/// The storage component over a store file, journalling every call. It is stricter than a real
/// one: what the interface does not allow is reported as misuse, even where it does no harm.
///
/// A failed Initialize is no misuse, and neither is any call after it: E_UNEXPECTED is all it gets.
class StorageComponent final : public IZakStorageDB {
public:
    StorageComponent();

    /// Objects and class factories that somebody still holds.
    static std::atomic<long> liveObjects;
    /// Called when the DLL leaves: saves what is still open and reports it as misuse.
    static void CloseAllAtUnload();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE Initialize(BSTR bstrDBPath) override;
    HRESULT STDMETHODCALLTYPE get_Value(E_ZAKSTORAGE_VISIBILITY visibility, long index,
                                        BSTR section, BSTR entry, BSTR valueName,
                                        VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE put_Value(E_ZAKSTORAGE_VISIBILITY visibility, long index,
                                        BSTR section, BSTR entry, BSTR valueName,
                                        VARIANT value) override;
    HRESULT STDMETHODCALLTYPE Unused4() override;
    HRESULT STDMETHODCALLTYPE Uninitialize() override;
    HRESULT STDMETHODCALLTYPE Enumerate(E_ZAKSTORAGE_VISIBILITY visibility, long index,
                                        BSTR section, BSTR entry, VARIANT* entries) override;
    HRESULT STDMETHODCALLTYPE Unused7() override;
    HRESULT STDMETHODCALLTYPE Unused8() override;
    HRESULT STDMETHODCALLTYPE Unused9() override;
    HRESULT STDMETHODCALLTYPE Unused10() override;
    HRESULT STDMETHODCALLTYPE Unused11() override;
    HRESULT STDMETHODCALLTYPE EnumerateWithValue(E_ZAKSTORAGE_VISIBILITY visibility, long index,
                                                 BSTR section, BSTR entry, BSTR unused,
                                                 VARIANT* pairs) override;

private:
    enum class State { New, Failed, Open, Closed };
    struct Call;

    ~StorageComponent();
    /// The checks that all calls on an open store share; a failure is the call's answer.
    HRESULT Check(const Call& call, E_ZAKSTORAGE_VISIBILITY visibility, long index, BSTR section);
    HRESULT CheckOpen(const char* function);
    HRESULT Answer(const Call& call, HRESULT hr, OwnedVariant& made, VARIANT* out);

    std::mutex m_mutex;
    std::atomic<ULONG> m_references{1};
    State m_state = State::New;
    StoreFile m_file;
};

}  // namespace lab
