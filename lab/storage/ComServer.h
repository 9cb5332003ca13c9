// Identity of the stand-in for the storage component.
#pragma once

#include <windows.h>

/// Class id under which zakstorage.dll registers itself for the gateway's program id.
inline constexpr CLSID CLSID_LabZakStorageDB = {
    0xb2f6a7c4, 0x58d1, 0x4c0e, {0x8f, 0x3b, 0x94, 0xe1, 0x7d, 0x2a, 0x6c, 0x05}};

/// Id of the stand-in's interface. Callers learn it from the type library in zakstorage.dll.
inline constexpr IID IID_LabZakStorageDB = {
    0xe60eec85, 0xad99, 0x4c17, {0x9e, 0x77, 0xab, 0xa0, 0x3d, 0x28, 0xce, 0x17}};
