#pragma once

#include <windows.h>

#include <string>

/// Deletes a temporary file at the end of the work on it, also when that throws.
class CTempFile {
public:
    explicit CTempFile(const std::string& name) : m_name(name) {}
    ~CTempFile() { ::DeleteFileA(m_name.c_str()); }
    CTempFile(const CTempFile&) = delete;
    CTempFile& operator=(const CTempFile&) = delete;

    const std::string& Name() const { return m_name; }

private:
    std::string m_name;
};
