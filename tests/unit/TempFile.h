#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

/// A file of one test: absent at first, removed at the end. Content is read and written as bytes.
class TempFile {
public:
    explicit TempFile(const std::string& name) : m_path(testing::TempDir() + name) {
        std::remove(m_path.c_str());
    }
    ~TempFile() { std::remove(m_path.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const std::string& Path() const { return m_path; }
    bool Exists() const { return std::ifstream(m_path).is_open(); }
    void Write(const std::string& bytes) const { std::ofstream(m_path, std::ios::binary) << bytes; }
    std::string Read() const {
        std::ifstream file(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string m_path;
};

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
