// Entry points of a COM module without classes: it registers nothing and may always be unloaded.
#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    return S_OK;
}

STDAPI DllUnregisterServer() {
    return S_OK;
}

STDAPI DllGetClassObject(REFCLSID, REFIID, void** object) {
    if (!object)
        return E_POINTER;
    *object = nullptr;
    return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() {
    return S_OK;
}
