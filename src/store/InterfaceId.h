#pragma once

#include <windows.h>

/// Finds the id (decision 0012) by which the storage component of this class knows its interface
/// "IZakStorageDB". The component publishes it as COM components do, so the search goes, in this
/// order, through
///  - the type library registered for the class,
///  - the type library inside the component's own file,
///  - the registered interfaces, by the name.
/// Returns IID_IZakStorageDB if it is not found. Changes nothing.
IID FindStorageInterfaceId(REFCLSID classId);
