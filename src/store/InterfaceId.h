#pragma once

#include <windows.h>

/// Finds the id that the storage component of this class uses for "IZakStorageDB" (decision 0012).
/// Searches the type library registered for the class, then that in the component's own file, then
/// the registered interfaces by name. Returns IID_IZakStorageDB if none has it. Changes nothing.
IID FindStorageInterfaceId(REFCLSID classId);
