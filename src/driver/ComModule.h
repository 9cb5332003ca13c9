#pragma once

#include <windows.h>

#include <atomic>

/// The program as a COM server. It has no classes; what others may hold of it are locks.
class CComModule {
public:
    static CComModule& Instance();
    CComModule(const CComModule&) = delete;
    CComModule& operator=(const CComModule&) = delete;

    /// An object or a client's lock keeps the module loaded. Returns the new count.
    LONG Lock() { return ++m_lockCount; }
    LONG Unlock() { return --m_lockCount; }

    HRESULT GetClassObject(REFCLSID classId, REFIID interfaceId, void** object);
    HRESULT CanUnloadNow() const { return m_lockCount == 0 ? S_OK : S_FALSE; }
    /// Both succeed: without classes the registry holds nothing of this module.
    HRESULT RegisterServer() { return S_OK; }
    HRESULT UnregisterServer() { return S_OK; }

private:
    CComModule() = default;

    std::atomic<LONG> m_lockCount{0};
};
