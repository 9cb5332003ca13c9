#pragma once

#include <windows.h>

/// Creates each directory of the path in order; skips existing ones and drive roots. "/" and "\",
/// also repeated, are separators. Drops leading separators: a path on a share becomes relative.
/// Ignores directories that can't be created; returns E_FAIL only for an empty path.
HRESULT CreateDirectoryChain(const char* path);

/// The folder of the gateway's configuration file, from the registry. If the registry has no usable
/// text, the temporary folder, which is then written to the registry for the next run.
class CDataFolder {
public:
    /// Returns the folder without a final separator, in the ANSI code page; empty if the registry
    /// key can't be opened or made. The first call reads the registry and creates the folder.
    const char* Get();

private:
    void ReadOrRecordPath();

    char m_path[MAX_PATH] = "";
    bool m_resolved = false;
};
