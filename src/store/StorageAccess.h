#pragma once

#include "store/ComTypes.h"
#include "store/InterfaceId.h"
#include "store/ZakStorageDB.h"

// Section and value names of the store, allocated once at start-up; a failure there is fatal.
extern const CComBSTR clientsEntry;
extern const CComBSTR scopesEntry;
extern const CComBSTR clientNameEntry;
extern const CComBSTR MACEntry;

/// Base of the work classes: the gateway's configuration store, opened through its COM component.
/// Failures are traced here and given back as the failing call's result.
class CStorageAccess {
public:
    CStorageAccess() = default;
    /// Closes what an exception left open.
    virtual ~CStorageAccess();
    CStorageAccess(const CStorageAccess&) = delete;
    CStorageAccess& operator=(const CStorageAccess&) = delete;

protected:
    /// Enters COM (multithreaded), creates the component and opens the configuration file. After a
    /// failure the component is released and m_storageAccess null.
    HRESULT Initialize();
    /// Closes the file, releases the component and leaves COM. Does nothing when none is held.
    /// Always S_OK.
    HRESULT Uninitialize();
    /// Lists the entries of a section. False, and nothing is traced, when the store isn't open, the
    /// call fails or it gives no list.
    bool ListSection(BSTR section, CComVariant& entries);

    CComPtr<IZakStorageDB, FindStorageInterfaceId> m_storageAccess;

private:
    HRESULT InitializeStorageAccess();
    void Close();

    CComApartment m_apartment;
    bool m_opened = false;
};
