#include "store/StorageAccess.h"

#include <utility>

#include "diagtools/HResultCheck.h"
#include "store/DataFolder.h"
#include "store/InterfaceId.h"

namespace {

constexpr char kTraceFile[] = "StorageAccess";

constexpr CConstantBstr kConfigurationFileSuffix(L"\\Zephon.XML");

}  // namespace

HRESULT CStoragePtr::CoCreateInstance(const wchar_t* progId) {
    Release();
    CLSID classId;
    const HRESULT hr = ::CLSIDFromProgID(progId, &classId);
    if (FAILED(hr))
        return hr;
    static const IID interfaceId = FindStorageInterfaceId(classId);
    void* created = nullptr;
    const HRESULT made = ::CoCreateInstance(classId, nullptr, CLSCTX_ALL, interfaceId, &created);
    if (SUCCEEDED(made))
        p = static_cast<IZakStorageDB*>(created);
    return made;
}

void CStoragePtr::Release() {
    if (IZakStorageDB* const held = std::exchange(p, nullptr))
        held->Release();
}

void CStorageAccess::Close() {
    // A component that could not be opened is only released.
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
        DT_TRACE(kTraceError, "%s is NULL", "m_storageAccess.p");
        return E_POINTER;
    }
    CDataFolder folder;
    CComBSTR bstrDBPath(folder.Get());
    const HRESULT appended = bstrDBPath.Append(kConfigurationFileSuffix);
    if (FAILED(appended))
        return appended;
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
