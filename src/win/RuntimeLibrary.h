#pragma once

#include <windows.h>

#include <type_traits>

/// Search flags for system libraries. The program runs elevated, so it must not search folders that
/// other users may write to, such as the current folder or those in PATH.
constexpr DWORD kSystemLibrary = LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32;

class CLibraryEntry;

/// A library that is loaded once, on first use (decision 0005). Derived classes declare its entries
/// as CEntry members. A library that lacks an entry counts as missing.
class CRuntimeLibrary {
public:
    /// flags: those of LoadLibraryEx. fileName must outlive the object.
    CRuntimeLibrary(const char* fileName, DWORD flags) : m_fileName(fileName), m_flags(flags) {}
    CRuntimeLibrary(const CRuntimeLibrary&) = delete;
    CRuntimeLibrary& operator=(const CRuntimeLibrary&) = delete;

    /// Returns 0 if the library has all its entries, otherwise the system's code: usually 126 for a
    /// missing library, 127 for a missing entry. Later calls return the same code.
    DWORD Load();
    /// The first entry that the loaded library lacks; null if none, or if the library is missing.
    const char* MissingEntry() const { return m_missingEntry; }
    /// No entry may be called afterwards.
    void Unload();

private:
    friend class CLibraryEntry;

    const char* m_fileName;
    DWORD m_flags;
    CLibraryEntry* m_firstEntry = nullptr;
    CLibraryEntry** m_endOfEntries = &m_firstEntry;
    const char* m_missingEntry = nullptr;
    HMODULE m_module = nullptr;
    bool m_tried = false;
    DWORD m_error = ERROR_SUCCESS;
};

/// The part of an entry that needs no signature. Entries are looked up in order of construction.
class CLibraryEntry {
public:
    CLibraryEntry(CRuntimeLibrary& library, const char* name) : m_library(library), m_name(name) {
        *library.m_endOfEntries = this;
        library.m_endOfEntries = &m_next;
    }
    CLibraryEntry(const CLibraryEntry&) = delete;
    CLibraryEntry& operator=(const CLibraryEntry&) = delete;

protected:
    CRuntimeLibrary& m_library;
    FARPROC m_address = nullptr;

private:
    friend class CRuntimeLibrary;

    const char* m_name;
    CLibraryEntry* m_next = nullptr;
};

template <class Signature>
class CEntry;

/// A library entry, declared with its signature and name, and called like a function.
template <class Result, class... Arguments>
class CEntry<Result(Arguments...)> : public CLibraryEntry {
public:
    using CLibraryEntry::CLibraryEntry;

    /// Loads the library if needed. If it or an entry is missing, a function that returns a DWORD
    /// returns the system's error code; any other returns 0.
    Result operator()(Arguments... arguments) {
        using Function = Result(WINAPI*)(Arguments...);
        const DWORD error = m_library.Load();
        if (error == ERROR_SUCCESS)
            return reinterpret_cast<Function>(reinterpret_cast<void*>(m_address))(arguments...);
        if constexpr (std::is_same_v<Result, DWORD>)
            return error;
        else
            return Result();
    }
};
