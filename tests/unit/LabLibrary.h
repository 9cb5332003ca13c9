// What the tests of the stand-ins share: a folder, an environment, and a DLL loaded in it.
#pragma once

#include <windows.h>

#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <type_traits>

namespace lab_test {

inline std::string ReadAll(const std::wstring& path) {
    std::ifstream file(std::string(path.begin(), path.end()), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

inline void WriteAll(const std::wstring& path, const std::string& bytes) {
    std::ofstream(std::string(path.begin(), path.end()), std::ios::binary) << bytes;
}

/// A new folder of this process; its path ends in a backslash. Removed at the end with its content.
class Folder {
public:
    Folder() {
        // Asked once: a test may give its child process another temporary folder.
        static const std::wstring temp = std::filesystem::temp_directory_path().wstring();
        static int number = 0;
        path_ = temp + L"\\lab" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
                std::to_wstring(++number) + L"\\";
        ::CreateDirectoryW(path_.c_str(), nullptr);
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::wstring operator/(const wchar_t* name) const { return path_ + name; }

private:
    std::wstring path_;
};

/// A stand-in that reads the given settings, and no other, when it is loaded.
class Library {
public:
    Library(const wchar_t* dll, const std::map<std::wstring, std::wstring>& settings) {
        wchar_t* const block = ::GetEnvironmentStringsW();
        for (const wchar_t* entry = block; *entry; entry += std::wcslen(entry) + 1) {
            const std::wstring text = entry;
            if (text.rfind(L"DHCPLAB_", 0) == 0) {
                ::SetEnvironmentVariableW(text.substr(0, text.find(L'=')).c_str(), nullptr);
            }
        }
        ::FreeEnvironmentStringsW(block);
        for (const auto& [name, value] : settings) {
            ::SetEnvironmentVariableW(name.c_str(), value.c_str());
        }
        module_.reset(::LoadLibraryW((std::wstring(LAB_DIRECTORY) + L"/" + dll).c_str()));
    }
    /// The exported function, or null.
    template <class Function>
    Function* Get(const char* name) const {
        return module_ ? reinterpret_cast<Function*>(
                             reinterpret_cast<void*>(::GetProcAddress(module_.get(), name)))
                       : nullptr;
    }
    void Unload() { module_.reset(); }

private:
    struct Free {
        void operator()(HMODULE module) const noexcept { ::FreeLibrary(module); }
    };
    std::unique_ptr<std::remove_pointer_t<HMODULE>, Free> module_;
};

}  // namespace lab_test
