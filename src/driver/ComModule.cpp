#include "driver/ComModule.h"

// Declares the four entries.
#include <olectl.h>

CComModule& CComModule::Instance() {
    static CComModule instance;
    return instance;
}

HRESULT CComModule::GetClassObject(REFCLSID, REFIID, void** object) {
    if (!object)
        return E_POINTER;
    *object = nullptr;
    return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllRegisterServer() {
    return CComModule::Instance().RegisterServer();
}

STDAPI DllUnregisterServer() {
    return CComModule::Instance().UnregisterServer();
}

STDAPI DllGetClassObject(REFCLSID classId, REFIID interfaceId, void** object) {
    return CComModule::Instance().GetClassObject(classId, interfaceId, object);
}

STDAPI DllCanUnloadNow() {
    return CComModule::Instance().CanUnloadNow();
}
