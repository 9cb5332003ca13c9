#pragma once

#include <windows.h>

/// Sends this process's temporary files elsewhere while it lives.
class TemporaryFolderIs {
public:
    explicit TemporaryFolderIs(const wchar_t* path) {
        ::GetEnvironmentVariableW(L"TMP", m_before, MAX_PATH);
        ::SetEnvironmentVariableW(L"TMP", path);
    }
    ~TemporaryFolderIs() { ::SetEnvironmentVariableW(L"TMP", m_before); }
    TemporaryFolderIs(const TemporaryFolderIs&) = delete;
    TemporaryFolderIs& operator=(const TemporaryFolderIs&) = delete;

private:
    wchar_t m_before[MAX_PATH] = L"";
};
