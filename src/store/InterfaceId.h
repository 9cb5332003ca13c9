#pragma once

#include <windows.h>

/// The id (decision 0012) that the storage component of this class knows its interface
/// "IZakStorageDB" by. The component publishes it as COM components do, so it is looked up, in this
/// order:
///  - in the type library registered for the class,
///  - in the type library inside the component's own file,
///  - among the registered interfaces, by the name.
/// Where it is not found, IID_IZakStorageDB. Nothing is changed; a look-up that fails costs its
/// time only.
IID FindStorageInterfaceId(REFCLSID classId);
