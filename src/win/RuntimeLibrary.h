#pragma once

#include <windows.h>

#include <type_traits>

/// For libraries of the system. The program runs elevated, so they must not be searched for in a
/// folder that others may write to, such as the current one or one of PATH.
constexpr DWORD kSystemLibrary = LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32;

class CLibraryEntry;

/// A library that is loaded by its first use, once (decision 0005). Its entries are CEntry members
/// of a derived class. A library that lacks one of them counts as missing.
class CRuntimeLibrary {
public:
    /// flags: those of LoadLibraryEx. fileName must outlive the object.
    CRuntimeLibrary(const char* fileName, DWORD flags) : m_fileName(fileName), m_flags(flags) {}
    CRuntimeLibrary(const CRuntimeLibrary&) = delete;
    CRuntimeLibrary& operator=(const CRuntimeLibrary&) = delete;

    /// Returns 0 if the library is there with all its entries, otherwise the system's code: usually
    /// 126 for a missing library, 127 for a missing entry. Remembers the result.
    DWORD Load();
    /// The first entry that the loaded library lacks; null if it lacks none or was not loaded.
    const char* MissingEntry() const { return m_missingEntry; }
    /// After this no entry may be called.
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

/// What an entry of any signature has. Entries are looked up in the order of their construction.
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

/// An entry, declared once with its signature and name, and called like a function.
template <class Result, class... Arguments>
class CEntry<Result(Arguments...)> : public CLibraryEntry {
public:
    using CLibraryEntry::CLibraryEntry;

    /// Loads the library if need be. If that fails, a DWORD result is the system's code, any other
    /// result is zero.
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
