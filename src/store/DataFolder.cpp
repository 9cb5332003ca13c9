#include "store/DataFolder.h"

#include <cstring>
#include <string>

#include "diagtools/DiagTraceInfo.h"
#include "win/AnsiPath.h"
#include "win/Handles.h"
#include "win/RegistryText.h"

namespace {

constexpr char kTraceFile[] = "DataFolder";

constexpr char kDataKey[] = "SOFTWARE\\Vantrel\\Data";

bool IsSeparator(char c) {
    return c == '\\' || c == '/';
}

}  // namespace

HRESULT CreateDirectoryChain(const char* path) {
    if (!path || !*path)
        return E_FAIL;
    std::string accumulated;
    while (*path) {
        const char* const token = path;
        while (*path && !IsSeparator(*path))
            path = ::CharNextA(path);
        if (path != token) {
            accumulated.append(token, path).append("\\");
            ::CreateDirectoryA(accumulated.c_str(), nullptr);
        }
        while (IsSeparator(*path))
            ++path;
    }
    return S_OK;
}

const char* CDataFolder::Get() {
    if (m_resolved)
        return m_path;
    ReadOrRecordPath();
    char* const last = ::CharPrevA(m_path, m_path + std::strlen(m_path));
    if (IsSeparator(*last))
        *last = '\0';
    CreateDirectoryChain(m_path);
    m_resolved = true;
    return m_path;
}

void CDataFolder::ReadOrRecordPath() {
    HKEY opened = nullptr;
    const LSTATUS error = ::RegCreateKeyExA(HKEY_LOCAL_MACHINE, kDataKey, 0, nullptr, 0,
                                            kRegReadWrite, nullptr, &opened, nullptr);
    if (error != ERROR_SUCCESS) {
        // The path stays empty: the store is then expected in the root of the current drive.
        DT_TRACE(kTraceError, "Unable to open or create registry key [%s], error [%ld]", kDataKey,
                 error);
        return;
    }
    const RegKey key(opened);
    DWORD type = 0;
    if (ReadRegistryText(key.get(), "Path", m_path, type) && *m_path)
        return;
    TemporaryPath temporary;
    GetTemporaryFolder(temporary);
    std::strcpy(m_path, std::strlen(temporary) < sizeof(m_path) ? temporary : ".\\");
    ::RegSetValueExA(key.get(), "Path", 0, REG_SZ, reinterpret_cast<const BYTE*>(m_path),
                     static_cast<DWORD>(std::strlen(m_path) + 1));
}
