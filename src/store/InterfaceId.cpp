#include "store/InterfaceId.h"

#include <oleauto.h>

#include <cwchar>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include "diagtools/DiagTraceInfo.h"
#include "store/ZakStorageDB.h"
#include "win/Handles.h"
#include "win/TextConversion.h"

namespace {

constexpr char kTraceFile[] = "InterfaceId";

// Registrations for the whole machine only. HKEY_CLASSES_ROOT adds the user's own: any program of
// the user could make this elevated one load its file. COM ignores them in elevated processes, too.
constexpr wchar_t kClasses[] = L"SOFTWARE\\Classes\\";

using FoundId = std::optional<IID>;

struct ComRelease {
    void operator()(IUnknown* object) const noexcept { object->Release(); }
};

/// Returns the default value of a key below kClasses; empty if it has none.
std::wstring ClassesText(const std::wstring& key) {
    wchar_t text[1024];
    DWORD bytes = sizeof(text);
    return ::RegGetValueW(HKEY_LOCAL_MACHINE, (kClasses + key).c_str(), nullptr, RRF_RT_REG_SZ,
                          nullptr, text, &bytes) == ERROR_SUCCESS
               ? text
               : L"";
}

/// Calls visit with the path and the name of each subkey until visit returns an id.
template <class Visit>
FoundId FindInSubkeys(const std::wstring& key, const Visit& visit) {
    HKEY opened = nullptr;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, (kClasses + key).c_str(), 0, KEY_READ, &opened) !=
        ERROR_SUCCESS)
        return std::nullopt;
    const RegKey owner(opened);
    wchar_t name[256];
    for (DWORD index = 0;; ++index) {
        DWORD chars = static_cast<DWORD>(std::size(name));
        if (::RegEnumKeyExW(opened, index, name, &chars, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            return std::nullopt;
        if (const FoundId found = visit(key + L"\\" + name, name))
            return found;
    }
}

bool HasName(ITypeLib& library, UINT index) {
    BSTR name = nullptr;
    if (FAILED(library.GetDocumentation(static_cast<INT>(index), &name, nullptr, nullptr, nullptr)))
        return false;
    const bool same = name && ::_wcsicmp(name, kZakStorageInterface) == 0;
    ::SysFreeString(name);
    return same;
}

/// Returns the id of an interface that derives directly from IUnknown. On a dispatch interface our
/// first call would reach IDispatch::GetTypeInfoCount.
FoundId CustomInterfaceId(ITypeInfo& info) {
    TYPEATTR* attributes = nullptr;
    if (FAILED(info.GetTypeAttr(&attributes)))
        return std::nullopt;
    const bool isCustom = attributes->typekind == TKIND_INTERFACE &&
                          (attributes->wTypeFlags & (TYPEFLAG_FDUAL | TYPEFLAG_FDISPATCHABLE)) == 0;
    const IID id = attributes->guid;
    info.ReleaseTypeAttr(attributes);
    return isCustom ? FoundId(id) : std::nullopt;
}

/// Finds the id in the type library of a file.
FoundId FindInFile(const std::wstring& file) {
    // LoadTypeLibEx would search for a relative path and read any other text as a moniker.
    const bool absolute = file.find(L":\\") == 1 || file.rfind(L"\\\\", 0) == 0;
    if (!absolute || ::GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES)
        return std::nullopt;
    ITypeLib* received = nullptr;
    const HRESULT loaded = ::LoadTypeLibEx(file.c_str(), REGKIND_NONE, &received);
    const std::unique_ptr<ITypeLib, ComRelease> library(received);
    if (FAILED(loaded) || !library)
        return std::nullopt;
    for (UINT index = 0; index < library->GetTypeInfoCount(); ++index) {
        ITypeInfo* info = nullptr;
        if (!HasName(*library, index) || FAILED(library->GetTypeInfo(index, &info)))
            continue;
        const std::unique_ptr<ITypeInfo, ComRelease> owner(info);
        if (const FoundId id = CustomInterfaceId(*info))
            return id;
    }
    return std::nullopt;
}

/// Finds the id in the class's registered library: TypeLib\{id}\version\language\platform.
FoundId FindInRegisteredLibrary(const std::wstring& classKey) {
    const std::wstring libraryId = ClassesText(classKey + L"\\TypeLib");
    if (libraryId.empty())
        return std::nullopt;
    return FindInSubkeys(L"TypeLib\\" + libraryId, [](const std::wstring& version, const wchar_t*) {
        return FindInSubkeys(version, [](const std::wstring& language, const wchar_t*) {
            const FoundId found = FindInFile(ClassesText(language + L"\\win64"));
            return found ? found : FindInFile(ClassesText(language + L"\\win32"));
        });
    });
}

/// Returns the file of a server's command line, which may have quotation marks and arguments.
std::wstring ServerFile(const std::wstring& commandLine) {
    if (commandLine.rfind(L'"', 0) == 0)
        return commandLine.substr(1, commandLine.find(L'"', 1) - 1);
    std::wstring lower = commandLine;
    ::CharLowerBuffW(lower.data(), static_cast<DWORD>(lower.size()));
    const std::size_t arguments = lower.find(L".exe ");
    return commandLine.substr(0, arguments == lower.npos ? arguments : arguments + 4);
}

FoundId FindInRegisteredInterfaces() {
    return FindInSubkeys(
        L"Interface",
        [](const std::wstring& key, const wchar_t* name) {
            IID id;
            return ClassesText(key) == kZakStorageInterface && SUCCEEDED(::IIDFromString(name, &id))
                       ? FoundId(id)
                       : std::nullopt;
        });
}

std::wstring GuidText(const GUID& guid) {
    wchar_t text[39] = L"";  // with braces and terminator
    ::StringFromGUID2(guid, text, static_cast<int>(std::size(text)));
    return text;
}

}  // namespace

IID FindStorageInterfaceId(REFCLSID classId) {
    const std::wstring classKey = L"CLSID\\" + GuidText(classId);
    std::wstring source = classKey + L"\\TypeLib";
    FoundId found = FindInRegisteredLibrary(classKey);
    for (const wchar_t* const server : {L"\\InprocServer32", L"\\LocalServer32"}) {
        if (found)
            break;
        source = classKey + server;
        found = FindInFile(ServerFile(ClassesText(source)));
    }
    if (!found) {
        source = L"Interface";
        found = FindInRegisteredInterfaces();
    }
    if (!found)
        return IID_IZakStorageDB;
    DT_TRACE(kTraceDefault, "Interface id [%s] published in [%s]",
             NarrowText(GuidText(*found).c_str()).c_str(), NarrowText(source.c_str()).c_str());
    return *found;
}
