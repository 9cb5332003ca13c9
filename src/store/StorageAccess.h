#pragma once

#include "store/ZakStorageDB.h"
#include "win/ComTypes.h"

// Section and value names of the store.
inline constexpr CConstantBstr clientsEntry(L"Clients");
inline constexpr CConstantBstr scopesEntry(L"Segments");
inline constexpr CConstantBstr clientNameEntry(L"Name");
inline constexpr CConstantBstr MACEntry(L"MAC");

/// Owner of one reference to the storage component.
class CStoragePtr {
public:
    CStoragePtr() = default;
    ~CStoragePtr() { Release(); }
    CStoragePtr(const CStoragePtr&) = delete;
    CStoragePtr& operator=(const CStoragePtr&) = delete;

    /// Creates the component and queries its interface. Finds the interface id only once per run,
    /// because the search may walk the whole registry of interfaces.
    HRESULT CoCreateInstance(const wchar_t* progId);
    void Release();
    IZakStorageDB* operator->() const { return p; }
    explicit operator bool() const { return p != nullptr; }

    IZakStorageDB* p = nullptr;
};

/// Base of the work classes: opens the gateway's configuration store through its COM component.
/// Failures are traced here; the failed call's result is returned.
class CStorageAccess {
public:
    CStorageAccess() = default;
    /// Closes what an exception left open.
    virtual ~CStorageAccess() { Close(); }
    CStorageAccess(const CStorageAccess&) = delete;
    CStorageAccess& operator=(const CStorageAccess&) = delete;

protected:
    /// Enters COM (multithreaded), creates the component and opens the configuration file. After a
    /// failure the component is released and m_storageAccess is null.
    HRESULT Initialize();
    /// Closes the file, releases the component and leaves COM, if open. Always returns S_OK.
    HRESULT Uninitialize();
    /// Lists the entries of a section. Returns false, without a trace, if the store is not open,
    /// the call fails or the result is not a list.
    bool ListSection(BSTR section, CComVariant& entries);

    CStoragePtr m_storageAccess;

private:
    HRESULT InitializeStorageAccess();
    void Close();

    CComApartment m_apartment;
    bool m_opened = false;
};
