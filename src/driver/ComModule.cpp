// The entries that make the program a COM module. It has no classes: there is nothing to register,
// and nothing that anybody could hold.
#include <windows.h>

// Declares the entries.
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
