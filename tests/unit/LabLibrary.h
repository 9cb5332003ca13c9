// Helpers of the tests: a temporary folder, a DLL of the lab that uses it, and a redirected TMP.
#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <system_error>
#include <utility>

namespace lab_test {

inline std::string ReadAll(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

inline void WriteAll(const std::wstring& path, const std::string& bytes) {
    std::ofstream(std::filesystem::path(path), std::ios::binary) << bytes;
}

/// Owner of a new temporary folder, deleted with its content. Its path ends in a backslash.
class Folder {
public:
    Folder() {
        std::filesystem::remove_all(m_path);  // from a process with the same id
        std::filesystem::create_directory(m_path);
    }
    ~Folder() {
        std::error_code stillInUse;  // by a DLL that stays loaded
        std::filesystem::remove_all(m_path, stillInUse);
    }
    std::wstring operator/(const wchar_t* name) const { return m_path + name; }

private:
    static inline int m_number = 0;
    const std::wstring m_path = std::filesystem::temp_directory_path().wstring() + L"\\lab" +
                                std::to_wstring(::GetCurrentProcessId()) + L"-" +
                                std::to_wstring(++m_number) + L"\\";
};

/// Loads a stand-in, whose files in the folder are j(ournal), s(erver state) and f(aults). The
/// stand-in reads its settings when it is first called.
class Library {
public:
    Library(const wchar_t* dll, const Folder& folder,
            std::map<std::wstring, std::wstring> settings = {})
        : m_settings(std::move(settings)) {
        m_settings.insert({{L"JOURNAL", folder / L"j"},
                           {L"SERVER_STATE", folder / L"s"},
                           {L"FAULTS", folder / L"f"}});
        for (const auto& [name, value] : m_settings)
            ::SetEnvironmentVariableW((L"DHCPLAB_" + name).c_str(), value.c_str());
        m_module = ::LoadLibraryW((std::wstring(LAB_DIRECTORY) + L"/" + dll).c_str());
    }
    ~Library() {
        if (m_module)
            Unload();
        for (const auto& [name, value] : m_settings)
            ::SetEnvironmentVariableW((L"DHCPLAB_" + name).c_str(), nullptr);
    }
    template <class Function>
    Function* Get(const char* name) const {
        return reinterpret_cast<Function*>(
            reinterpret_cast<void*>(::GetProcAddress(m_module, name)));
    }
    void Unload() { ::FreeLibrary(std::exchange(m_module, nullptr)); }

private:
    std::map<std::wstring, std::wstring> m_settings;
    HMODULE m_module = nullptr;
};

/// Sets the temporary folder of this process while the object exists.
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

}  // namespace lab_test
