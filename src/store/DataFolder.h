#pragma once

#include <windows.h>

/// Creates each directory along the path, first to last; existing ones and drive roots are passed
/// over. Runs of "/" and "\" separate, a leading one is dropped. E_FAIL for an empty path only.
HRESULT CreateDirectoryChain(const char* path);

/// The folder that holds the gateway's configuration file, from the registry; the temporary folder,
/// recorded there for the next run, when the registry holds no usable text.
class CDataFolder {
public:
    /// Without its last separator, in the ANSI code page; empty when the registry key can neither
    /// be opened nor made. The folder is created. The first call resolves it.
    const char* Get();

private:
    void ReadOrRecordPath();

    char m_path[MAX_PATH] = "";
    bool m_resolved = false;
};
