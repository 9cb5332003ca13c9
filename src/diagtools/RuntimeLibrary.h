#pragma once

#include <windows.h>

#include <cstddef>

namespace DiagTools {

/// A library loaded at run time, with a table of its entries (decision 0005). Loaded at most once
/// and held until Unload or the end of the process; the failure of an attempt is remembered.
template <std::size_t N>
class CRuntimeLibrary {
public:
    using EntryNames = const char* const[N];

    /// names: in the order in which the entries are looked up; they outlive the object. flags: of
    /// LoadLibraryEx.
    constexpr CRuntimeLibrary(const char* fileName, DWORD flags, const EntryNames& names)
        : m_fileName(fileName), m_flags(flags), m_names(names) {}
    CRuntimeLibrary(const CRuntimeLibrary&) = delete;
    CRuntimeLibrary& operator=(const CRuntimeLibrary&) = delete;

    /// 0 when the library is there with all its entries; otherwise the system's code, as a rule 126
    /// for a missing library and 127 for a missing entry. Found() entries are there in any case.
    DWORD Load() {
        if (m_tried)
            return m_error;
        m_tried = true;
        m_module = ::LoadLibraryExA(m_fileName, nullptr, m_flags);
        if (!m_module)
            m_error = ::GetLastError();
        while (!m_error && m_found < N) {
            m_entries[m_found] = ::GetProcAddress(m_module, m_names[m_found]);
            if (!m_entries[m_found])
                m_error = ::GetLastError();
            else
                ++m_found;
        }
        return m_error;
    }

    bool IsLoaded() const { return m_module != nullptr; }
    /// How many entries were found before the first that is missing.
    std::size_t Found() const { return m_found; }

    /// Only for an entry that was found.
    template <class Function>
    Function* Entry(std::size_t index) const {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(m_entries[index]));
    }

    /// No entry may be called any more; Load goes on answering what it did.
    void Unload() {
        if (m_module)
            ::FreeLibrary(m_module);
        m_module = nullptr;
        m_found = 0;
    }

private:
    const char* m_fileName;
    DWORD m_flags;
    const EntryNames& m_names;
    bool m_tried = false;
    DWORD m_error = ERROR_SUCCESS;
    HMODULE m_module = nullptr;
    std::size_t m_found = 0;
    FARPROC m_entries[N] = {};
};

/// For libraries of the system: the program runs elevated, so a folder that others may write to,
/// such as the current one or one of the PATH, must not be searched for them.
constexpr DWORD kSystemLibrary = LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32;

}  // namespace DiagTools
