#include "store/StorageAccess.h"

#include "diagtools/HResultCheck.h"
#include "store/DataFolder.h"

namespace {

constexpr char kTraceFile[] = "StorageAccess";

const CComBSTR configurationFileSuffix(L"\\Zephon.XML");

}  // namespace

const CComBSTR clientsEntry(L"Clients");
const CComBSTR scopesEntry(L"Segments");
const CComBSTR clientNameEntry(L"Name");
const CComBSTR MACEntry(L"MAC");

CStorageAccess::~CStorageAccess() {
    Close();
}

void CStorageAccess::Close() {
    // A component that could not be opened is released only.
    if (m_opened)
        m_storageAccess->Uninitialize();
    m_opened = false;
    m_storageAccess.Release();
    m_apartment.Leave();
}

HRESULT CStorageAccess::Initialize() {
    m_apartment.Enter();
    const HRESULT hr = InitializeStorageAccess();
    m_opened = SUCCEEDED(hr);
    if (!m_opened)
        Close();
    RETURN_IF_FAILED_AS("InitializeStorageAccess()", hr);
    return S_OK;
}

HRESULT CStorageAccess::InitializeStorageAccess() {
    RETURN_IF_FAILED(m_storageAccess.CoCreateInstance(L"Granite.ZakStorageDB"));
    if (!m_storageAccess) {
        DT_TRACE(DiagTools::kTraceError, "%s is NULL", "m_storageAccess.p");
        return E_POINTER;
    }
    CDataFolder folder;
    CComBSTR bstrDBPath(folder.Get());
    if (configurationFileSuffix.Length() != 0) {
        const HRESULT appended = bstrDBPath.Append(configurationFileSuffix);
        if (FAILED(appended))
            return appended;
    }
    RETURN_IF_FAILED(m_storageAccess->Initialize(bstrDBPath));
    return S_OK;
}

HRESULT CStorageAccess::Uninitialize() {
    Close();
    return S_OK;
}

bool CStorageAccess::ListSection(BSTR section, CComVariant& entries) {
    return m_storageAccess &&
           SUCCEEDED(
               m_storageAccess->Enumerate(E_ZAKSTORAGE_PUBLIC, 0, section, nullptr, &entries)) &&
           IsArrayOfVariants(entries);
}
