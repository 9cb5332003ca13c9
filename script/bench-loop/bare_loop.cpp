// bare_loop: the external calls of dhcpmigrate's commands and the bytes that they write, and no
// more work than these need. script/bench measures the program against it.
//
// It takes the program's arguments, in the short form only, and none at all makes it the empty
// program. The input is what script/bench generates: every field is there and right, and every call
// succeeds but the look-up of a new scope's primary host. Everything foreign is declared here once
// more, so that a change of the program does not change what it is measured against.
//
// Left to the program as its own cost: options, the search path for DLLs, statistics, the event
// log, the folder of the store (made anew by each start), clashes of MACs, and everything about
// input and answers that are not as they should be.
#include <windows.h>

#include <oleauto.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

// Not in the unnamed namespace: there the compiler would see that nobody implements it.
struct IGatewayStore : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Initialize(BSTR path) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Value(int visibility, long index, BSTR section,
                                                BSTR entry, BSTR name, VARIANT* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Value(int visibility, long index, BSTR section,
                                                BSTR entry, BSTR name, VARIANT value) = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot4() = 0;
    virtual HRESULT STDMETHODCALLTYPE Uninitialize() = 0;
    virtual HRESULT STDMETHODCALLTYPE Enumerate(int visibility, long index, BSTR section,
                                                BSTR entry, VARIANT* entries) = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot7() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot8() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot9() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot10() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot11() = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumerateWithValue(int visibility, long index, BSTR section,
                                                         BSTR entry, BSTR unused,
                                                         VARIANT* pairs) = 0;
};

namespace {

using std::uint32_t;

// What is measured apart

LONGLONG Ticks() {
    LARGE_INTEGER ticks;
    ::QueryPerformanceCounter(&ticks);
    return ticks.QuadPart;
}

/// Ticks that went by in the stand-ins: in the calls, and in those that read or write a whole file.
LONGLONG callTicks = 0;
LONGLONG fileTicks = 0;

class Foreign {
public:
    explicit Foreign(LONGLONG& sum) : m_sum(sum) {}
    ~Foreign() { m_sum += Ticks() - m_start; }
    Foreign(const Foreign&) = delete;
    Foreign& operator=(const Foreign&) = delete;

private:
    LONGLONG& m_sum;
    LONGLONG m_start = Ticks();
};

// Texts

std::string Join(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts)
        text += part;
    return text;
}

/// What is shown of a record: each field behind its label.
template <std::size_t N, class Field>
std::string Labelled(const char* const (&labels)[N], const Field* fields, const char* end) {
    std::string text;
    for (std::size_t i = 0; i < N; ++i)
        text.append(labels[i]).append(fields[i]);
    return text.append(end);
}

void AddNumber(std::string& text, uint32_t number, int base = 10) {
    char digits[16];
    char* const end = std::to_chars(digits, std::end(digits), number, base).ptr;
    text.append(digits, static_cast<std::size_t>(end - digits));
}

void AddAddress(std::string& text, uint32_t address) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        AddNumber(text, address >> shift & 0xFF);
        if (shift > 0)
            text += '.';
    }
}

void AddNarrow(std::string& text, const wchar_t* wide) {
    char narrow[1024];
    const int bytes =
        ::WideCharToMultiByte(CP_THREAD_ACP, 0, wide, -1, narrow, sizeof(narrow), nullptr, nullptr);
    text.append(narrow, static_cast<std::size_t>(bytes) - 1);
}

std::string AddressText(uint32_t address) {
    std::string text;
    AddAddress(text, address);
    return text;
}

std::string MacText(const BYTE (&mac)[6]) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < 6; ++i) {
        if (i > 0)
            text += '-';
        text += kDigits[mac[i] >> 4];
        text += kDigits[mac[i] & 0xF];
    }
    return text;
}

uint32_t AddressOf(std::string_view text) {
    uint32_t address = 0;
    uint32_t octet = 0;
    for (const char c : text) {
        if (c == '.') {
            address = address << 8 | octet;
            octet = 0;
        } else {
            octet = octet * 10 + static_cast<uint32_t>(c - '0');
        }
    }
    return address << 8 | octet;
}

/// The bytes of hexadecimal pairs that one character separates.
void ReadMac(std::string_view text, BYTE (&mac)[6]) {
    for (std::size_t i = 0; i < 6; ++i) {
        unsigned value = 0;
        std::from_chars(&text[3 * i], &text[3 * i] + 2, value, 16);
        mac[i] = static_cast<BYTE>(value);
    }
}

/// A narrow text in UTF-16.
struct Wide {
    explicit Wide(std::string_view narrow) {
        text[::MultiByteToWideChar(CP_THREAD_ACP, 0, narrow.data(), static_cast<int>(narrow.size()),
                                   text, static_cast<int>(std::size(text)) - 1)] = L'\0';
    }
    wchar_t text[256];
};

// Files and messages

std::string server;
std::string logName;
std::string batchName;
bool verbose = true;

HANDLE Open(const std::string& name, DWORD access, DWORD disposition) {
    return ::CreateFileA(name.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

void Write(HANDLE file, std::string_view bytes) {
    DWORD written = 0;
    ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void Append(const std::string& name, std::string_view bytes) {
    const HANDLE file = Open(name, FILE_APPEND_DATA, OPEN_ALWAYS);
    Write(file, bytes);
    ::CloseHandle(file);
}

void Empty(const std::string& name) {
    ::CloseHandle(Open(name, GENERIC_WRITE, CREATE_ALWAYS));
}

void Show(std::string_view message) {
    if (logName.empty())
        Write(::GetStdHandle(STD_OUTPUT_HANDLE), message);
    else
        Append(logName, message);
}

std::string ReadWhole(const std::string& name) {
    const HANDLE file = Open(name, GENERIC_READ, OPEN_EXISTING);
    std::string content(::GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    ::ReadFile(file, &content[0], static_cast<DWORD>(content.size()), &read, nullptr);
    ::CloseHandle(file);
    return content;
}

/// A new file, written in blocks.
class NewFile {
public:
    explicit NewFile(const std::string& name) : m_file(Open(name, GENERIC_WRITE, CREATE_ALWAYS)) {}
    ~NewFile() {
        Write(m_file, m_block);
        ::CloseHandle(m_file);
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void Add(std::string_view text) {
        if (m_block.size() + text.size() > 8192) {
            Write(m_file, m_block);
            m_block.clear();
        }
        m_block += text;
    }

private:
    HANDLE m_file;
    std::string m_block;
};

/// The fields of a line without the blanks around them.
std::size_t SplitLine(std::string_view line, std::string_view (&fields)[8]) {
    std::size_t count = 0;
    for (std::size_t begin = 0; count < std::size(fields); ++count) {
        const std::size_t end = std::min(line.find(',', begin), line.size());
        std::string_view& field = fields[count] = line.substr(begin, end - begin);
        while (!field.empty() && field.front() == ' ')
            field.remove_prefix(1);
        while (!field.empty() && field.back() == ' ')
            field.remove_suffix(1);
        if (end == line.size())
            return count + 1;
        begin = end + 1;
    }
    return count;
}

template <class Action>
void ForEachLine(const std::string& name, const Action& action) {
    const std::string content = ReadWhole(name);
    std::size_t begin = content.find('\n') + 1;
    for (std::size_t end; (end = content.find('\n', begin)) != std::string::npos; begin = end + 1)
        if (end > begin + 1)
            action(std::string_view(content).substr(begin, end - 1 - begin));
}

// The trace client. Only errors are on.

class TraceClient {
public:
    TraceClient() : m_library(::LoadLibraryA("DTClient.dll")) {
        Find("DTTraceStr", m_trace);
        Find("DTGetFilter", m_filter);
        using Register = void*(HMODULE, const char*, const char*, const char*);
        Register* registerModule = nullptr;
        Find("DTRegisterModule", registerModule);
        char path[MAX_PATH];
        ::GetModuleFileNameA(nullptr, path, MAX_PATH);
        m_registration = registerModule(::GetModuleHandleA(nullptr), path, "", "");
        m_filter(m_registration);
    }
    ~TraceClient() {
        using Unregister = void(void*);
        Unregister* unregister = nullptr;
        Find("DTUnregisterModule", unregister);
        unregister(m_registration);
        ::FreeLibrary(m_library);
    }
    TraceClient(const TraceClient&) = delete;
    TraceClient& operator=(const TraceClient&) = delete;

    void Error(const char* file, const char* function, const char* text) const {
        if ((m_filter(m_registration) & 1) != 0)
            m_trace(m_registration, file, 0, function, 1, 0, 0, text);
    }

private:
    template <class Function>
    void Find(const char* name, Function*& entry) const {
        entry =
            reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(m_library, name)));
    }

    HMODULE m_library;
    void* m_registration = nullptr;
    void (*m_trace)(void*, const char*, uint32_t, const char*, uint32_t, uint32_t, uint32_t,
                    const char*) = nullptr;
    uint32_t (*m_filter)(void*) = nullptr;
};

// The store

constexpr int kPublic = 1;

class Bstr {
public:
    explicit Bstr(const wchar_t* text) : m_text(::SysAllocString(text)) {}
    explicit Bstr(std::string_view text) : Bstr(Wide(text).text) {}
    ~Bstr() { ::SysFreeString(m_text); }
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;

    operator BSTR() const { return m_text; }

private:
    BSTR m_text;
};

/// The elements of a list that the store has answered.
class List {
public:
    explicit List(const VARIANT& answer) : m_answer(answer) {
        void* data = nullptr;
        ::SafeArrayAccessData(m_answer.parray, &data);
        m_elements = static_cast<VARIANT*>(data);
    }
    ~List() {
        ::SafeArrayUnaccessData(m_answer.parray);
        ::VariantClear(&m_answer);
    }
    List(const List&) = delete;
    List& operator=(const List&) = delete;

    const VARIANT* begin() const { return m_elements; }
    const VARIANT* end() const { return m_elements + m_answer.parray->rgsabound[0].cElements; }

private:
    VARIANT m_answer;
    VARIANT* m_elements = nullptr;
};

/// The interface that the component's type library describes; without one, the id that the
/// component had before it got a library.
IID StorageInterface(REFCLSID classId) {
    IID found = {0x6f0c1a52, 0x3b7e, 0x4d19, {0x9a, 0x84, 0x2e, 0x5d, 0x71, 0xc0, 0xb3, 0xe6}};
    LPOLESTR classText = nullptr;
    ::StringFromCLSID(classId, &classText);
    const std::wstring key = std::wstring(L"CLSID\\") + classText + L"\\TypeLib";
    ::CoTaskMemFree(classText);
    wchar_t libraryText[64];
    DWORD bytes = sizeof(libraryText);
    CLSID libraryId;
    ITypeLib* library = nullptr;
    if (::RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, libraryText,
                       &bytes) != ERROR_SUCCESS ||
        FAILED(::CLSIDFromString(libraryText, &libraryId)) ||
        FAILED(::LoadRegTypeLib(libraryId, 1, 0, LOCALE_NEUTRAL, &library)))
        return found;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        TYPEKIND kind;
        ITypeInfo* info = nullptr;
        TYPEATTR* attributes = nullptr;
        library->GetTypeInfoType(i, &kind);
        if (kind != TKIND_INTERFACE)
            continue;
        library->GetTypeInfo(i, &info);
        info->GetTypeAttr(&attributes);
        found = attributes->guid;
        info->ReleaseTypeAttr(attributes);
        info->Release();
        break;
    }
    library->Release();
    return found;
}

class Store {
public:
    Store() {
        ::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        CLSID classId;
        ::CLSIDFromProgID(L"Granite.ZakStorageDB", &classId);
        void* created = nullptr;
        ::CoCreateInstance(classId, nullptr, CLSCTX_ALL, StorageInterface(classId), &created);
        m_storage = static_cast<IGatewayStore*>(created);
        char path[MAX_PATH] = "";
        DWORD bytes = sizeof(path);
        HKEY key = nullptr;
        ::RegCreateKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Vantrel\\Data", 0, nullptr, 0,
                          KEY_READ | KEY_WRITE, nullptr, &key, nullptr);
        ::RegQueryValueExA(key, "Path", nullptr, nullptr, reinterpret_cast<BYTE*>(path), &bytes);
        ::RegCloseKey(key);
        const Bstr file(std::string(path) + "\\Zephon.XML");
        const Foreign work(fileTicks);
        m_storage->Initialize(file);
    }
    ~Store() {
        {
            const Foreign work(fileTicks);
            m_storage->Uninitialize();
        }
        m_storage->Release();
        ::CoUninitialize();
    }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    List Entries(BSTR section) const {
        VARIANT answer{};
        const Foreign work(callTicks);
        m_storage->Enumerate(kPublic, 0, section, nullptr, &answer);
        return List(answer);
    }
    List Values(BSTR section, BSTR entry) const {
        VARIANT answer{};
        const Foreign work(callTicks);
        m_storage->EnumerateWithValue(kPublic, 0, section, entry, nullptr, &answer);
        return List(answer);
    }
    void AddValue(std::string& text, BSTR section, BSTR entry, BSTR name) const {
        VARIANT value{};
        const Foreign work(callTicks);
        m_storage->get_Value(kPublic, 0, section, entry, name, &value);
        AddNarrow(text, value.bstrVal);
        ::VariantClear(&value);
    }
    void Put(BSTR section, BSTR entry, BSTR name, std::string_view text) const {
        const Bstr copy(text);
        VARIANT value{};
        value.vt = VT_BSTR;
        value.bstrVal = copy;
        const Foreign work(callTicks);
        m_storage->put_Value(kPublic, 0, section, entry, name, value);
    }

private:
    IGatewayStore* m_storage = nullptr;
};

/// Texts of the values with these names; numbers are addresses.
template <std::size_t N>
void ReadValues(const List& pairs, const wchar_t* const (&names)[N], std::string (&texts)[N]) {
    for (const VARIANT* pair = pairs.begin(); pair != pairs.end(); pair += 2) {
        for (std::size_t i = 0; i < N; ++i) {
            if (std::wcscmp(pair->bstrVal, names[i]) != 0)
                continue;
            texts[i].clear();
            if (pair[1].vt == VT_UI4)
                AddAddress(texts[i], pair[1].ulVal);
            else
                AddNarrow(texts[i], pair[1].bstrVal);
            break;
        }
    }
}

// The batch file

void AddCommand(std::string_view line, bool shown = true) {
    Append(batchName, line);
    if (shown && verbose)
        Show(Join({"Adding command -> ", line}));
}

constexpr char kRuler[] =
    "REM ######################################################################\r\n";

void BeginBatch() {
    Empty(batchName);
    AddCommand(kRuler, false);
    AddCommand(Join({"REM Creating command file name for DHCP Server [", server, "]\r\n"}), false);
    AddCommand(kRuler, false);
    AddCommand("\r\n", false);
}

void EndBatch() {
    AddCommand("\r\n", false);
    AddCommand(kRuler, false);
    AddCommand(Join({"REM Commands are ready to update DHCP Server [", server, "]\r\n"}), false);
    AddCommand("REM Make sure you have sufficient privileges to modify DHCP server\r\n", false);
    AddCommand(kRuler, false);
}

void AddComment(std::string_view line) {
    AddCommand("\r\n", false);
    AddCommand(line, false);
    AddCommand("\r\n", false);
}

struct BatchClient {
    std::string_view name;
    uint32_t address;
    uint32_t mask;
    std::string_view mac;
};

/// A comment and a command; these texts are all that tells adding from deleting.
void AddClient(const BatchClient& client, bool adds) {
    const std::string scope = AddressText(client.address & client.mask);
    const std::string address = AddressText(client.address);
    std::string hex;
    AddNumber(hex, client.address, 16);
    for (char& digit : hex)
        if (digit >= 'a')
            digit = static_cast<char>(digit - 'a' + 'A');
    AddComment(Join({adds ? "REM Adding client [" : "REM Deleting client [", client.name,
                     "] with IP [", address, " : 0X", hex, adds ? "] to scope [" : "] from scope [",
                     scope, "] with Mac Address [", client.mac, "]\r\n"}));
    std::string digits;
    for (const char c : client.mac)
        if (c != '-')
            digits += c;
    AddCommand(Join({"netsh dhcp server ", server, " scope ", scope,
                     adds ? " add reservedip " : " delete reservedip ", address, " ", digits,
                     adds ? " " : "", adds ? client.name : "", "\r\n"}));
}

// The DHCP server's calls

struct BinaryData {
    DWORD bytes;
    BYTE* data;
};
struct HostInfo {
    DWORD address;
    wchar_t* netBiosName;
    wchar_t* name;
};
struct SubnetInfo {
    DWORD address;
    DWORD mask;
    wchar_t* name;
    wchar_t* comment;
    HostInfo primaryHost;
    DWORD state;
};
struct AddressRange {
    DWORD first;
    DWORD last;
};
struct Reservation {
    DWORD address;
    BinaryData* client;
    BYTE types;
};
struct Element {
    DWORD type;
    void* content;
};
constexpr DWORD kRange = 0;
constexpr DWORD kReserved = 2;
constexpr DWORD kExcluded = 3;
struct OptionScope {
    DWORD type;
    alignas(8) DWORD subnet;
    DWORD unused;
};
struct OptionElement {
    DWORD type;
    alignas(8) DWORD number;
    DWORD unused[3];
};
struct OptionData {
    DWORD count;
    OptionElement* elements;
};
struct ClientInfo {
    DWORD address;
    DWORD mask;
    BinaryData hardware;
    wchar_t* name;
    wchar_t* comment;
    FILETIME expires;
    HostInfo owner;
    BYTE type;
};
struct ClientArray {
    DWORD count;
    ClientInfo** clients;
};
static_assert(sizeof(SubnetInfo) == 56 && sizeof(ClientInfo) == 80 && sizeof(Element) == 16);
static_assert(sizeof(OptionScope) == 16 && sizeof(OptionElement) == 24);

constexpr BYTE kDhcpClient = 1;
constexpr BYTE kBothClient = 3;
constexpr BYTE kNoClient = 100;

class DhcpServer {
public:
    DhcpServer() : m_library(::LoadLibraryA("dhcpsapi.dll")), m_name(server) {}
    ~DhcpServer() {
        const Foreign work(fileTicks);
        ::FreeLibrary(m_library);
    }
    DhcpServer(const DhcpServer&) = delete;
    DhcpServer& operator=(const DhcpServer&) = delete;

    /// Each call is looked up when it is first made; the first of them reads the server's file.
    template <class... Arguments>
    class Call {
    public:
        Call(DhcpServer& owner, const char* name) : m_server(owner) {
            m_entry = reinterpret_cast<DWORD(WINAPI*)(const wchar_t*, Arguments...)>(
                reinterpret_cast<void*>(::GetProcAddress(owner.m_library, name)));
        }
        DWORD operator()(Arguments... arguments) const {
            const Foreign work(m_server.m_isOpen ? callTicks : fileTicks);
            m_server.m_isOpen = true;
            return m_entry(m_server.m_name.text, arguments...);
        }

    private:
        DhcpServer& m_server;
        DWORD(WINAPI* m_entry)(const wchar_t*, Arguments...);
    };

    void Free(void* block) const {
        if (block)
            m_free(block);
    }

private:
    HMODULE m_library;
    Wide m_name;
    bool m_isOpen = false;
    void(WINAPI* m_free)(void*) = reinterpret_cast<void(WINAPI*)(void*)>(
        reinterpret_cast<void*>(::GetProcAddress(m_library, "DhcpRpcFreeMemory")));

public:
    const Call<DWORD, const SubnetInfo*> CreateSubnet{*this, "DhcpCreateSubnet"};
    const Call<DWORD, SubnetInfo**> GetSubnetInfo{*this, "DhcpGetSubnetInfo"};
    const Call<DWORD, const Element*> AddElement{*this, "DhcpAddSubnetElementV4"};
    const Call<DWORD, const Element*, DWORD> RemoveElement{*this, "DhcpRemoveSubnetElementV4"};
    const Call<DWORD, const OptionScope*, const OptionData*> SetOption{*this, "DhcpSetOptionValue"};
    const Call<const ClientInfo*> CreateClient{*this, "DhcpCreateClientInfoV4"};
    const Call<DWORD, DWORD*, DWORD, ClientArray**, DWORD*, DWORD*> EnumClients{
        *this, "DhcpEnumSubnetClientsV4"};
};

/// A client record, then its reservation.
void AddServerClient(const DhcpServer& dhcp, ClientInfo& info, DWORD scope, bool isReserved) {
    info.owner.address = AddressOf(server);
    info.type = kBothClient;
    dhcp.CreateClient(&info);
    if (!isReserved)
        return;
    Reservation reservation{info.address, &info.hardware, kBothClient};
    const Element element{kReserved, &reservation};
    dhcp.AddElement(scope, &element);
}

// The commands

constexpr std::string_view kReservedStatus = "Reserved";
constexpr DWORD kLeaseSeconds = 691200;

void ExportClients(const std::string& csvName, bool writesBatch) {
    static constexpr const wchar_t* kNames[] = {L"Name", L"IpAddress", L"NetMask",        L"DNS1",
                                                L"DNS2", L"MAC",       L"DHCPLeaseStatus"};
    static constexpr const char* kLabels[] = {
        "Client found : Name [", "], IP Address [",  "], NetMask [", "], DNS1 [", "], DNS2 [",
        "], MAC Address [",      "], Lease Status ["};
    static constexpr const char* kSeparators[] = {"", ", ", ", ", ", ", ", ", ", ", ", "};
    const Store store;
    NewFile csv(csvName);
    csv.Add("Client Name, IP Address, NetMask, DNS1, DNS2, MAC Address, Lease Status\r\n\r\n");
    const Bstr section(L"Clients");
    std::string fields[7];
    for (const VARIANT& id : store.Entries(section)) {
        ReadValues(store.Values(section, id.bstrVal), kNames, fields);
        csv.Add(Labelled(kSeparators, fields, "\r\n"));
        if (verbose)
            Show(Labelled(kLabels, fields, "]\r\n"));
        if (writesBatch && fields[6] == kReservedStatus)
            AddClient({fields[0], AddressOf(fields[1]), AddressOf(fields[2]), fields[5]}, true);
    }
}

void UpdateMac() {
    Show("\r\nUpdating clients MAC Address in storage. Please wait ...\r\n\r\n");
    {
        const Store store;
        const Bstr section(L"Clients");
        const Bstr nameEntry(L"Name");
        const Bstr macEntry(L"MAC");
        std::string name;
        std::string stored;
        for (const VARIANT& id : store.Entries(section)) {
            name.clear();
            store.AddValue(name, section, id.bstrVal, nameEntry);
            stored.clear();
            store.AddValue(stored, section, id.bstrVal, macEntry);
            BYTE mac[6];
            ReadMac(stored, mac);
            const bool isRight = mac[0] == 0x00 && mac[1] == 0x04 && mac[2] == 0x70;
            if (isRight && !verbose)
                continue;
            if (isRight) {
                Show(Join({"Client [", name, "] checking MAC [", stored, "] -> OK\r\n"}));
                continue;
            }
            mac[0] = 0x00;
            mac[1] = 0x04;
            mac[2] = 0x70;
            const std::string changed = MacText(mac);
            Show(Join({"Client [", name, "] checking MAC [", stored,
                       "] -> Prefix invalid : changed to [", changed, "]\r\n"}));
            store.Put(section, id.bstrVal, macEntry, changed);
        }
    }
    Show("\r\nClients MAC were all processed.\r\n\r\n");
}

void UpdateClients(const std::string& csvName) {
    static constexpr const char* kLabels[] = {"Client to add in DHCP server : Name [",
                                              "], IP Address [",
                                              "], NetMask [",
                                              "], DNS1 [",
                                              "], DNS2 [",
                                              "], MAC Address [",
                                              "], Lease Status ["};
    const DhcpServer dhcp;
    ForEachLine(csvName, [&](std::string_view entry) {
        std::string_view fields[8];
        SplitLine(entry, fields);
        SYSTEMTIME utc;
        FILETIME now;
        ::GetSystemTime(&utc);
        ::SystemTimeToFileTime(&utc, &now);
        const ULONGLONG expires =
            (static_cast<ULONGLONG>(now.dwHighDateTime) << 32 | now.dwLowDateTime) +
            kLeaseSeconds * 10'000'000ULL;
        Wide name(fields[0]);
        wchar_t noComment[] = L"";
        BYTE mac[6];
        ReadMac(fields[5], mac);
        ClientInfo info{};
        info.address = AddressOf(fields[1]);
        info.mask = AddressOf(fields[2]);
        info.hardware = {6, mac};
        info.name = name.text;
        info.comment = noComment;
        info.expires = {static_cast<DWORD>(expires), static_cast<DWORD>(expires >> 32)};
        AddServerClient(dhcp, info, info.address & info.mask, fields[6] == kReservedStatus);
        if (verbose)
            Show(Labelled(kLabels, fields, "] -> OK\r\n"));
    });
}

void SetSubnetOption(const DhcpServer& dhcp, DWORD subnet, DWORD option, DWORD type, DWORD value) {
    OptionElement element{type, value, {}};
    const OptionScope scope{2, subnet, 0};
    const OptionData data{1, &element};
    dhcp.SetOption(option, &scope, &data);
}

void UpdateScopes(const TraceClient& trace, const std::string& csvName) {
    static constexpr const char* kLabels[] = {"Scope to add in DHCP server : Name [",
                                              "], IP Address [", "], NetMask [", "], Scope [",
                                              "], Comments ["};
    const DhcpServer dhcp;
    ForEachLine(csvName, [&](std::string_view entry) {
        std::string_view fields[8];
        SplitLine(entry, fields);
        const DWORD gateway = AddressOf(fields[1]);
        const DWORD mask = AddressOf(fields[2]);
        const DWORD subnet = AddressOf(fields[3]);
        SubnetInfo* none = nullptr;
        const DWORD error = dhcp.GetSubnetInfo(AddressOf(server), &none);
        char text[256];
        std::snprintf(text, sizeof(text), "Unable to get subnet info for Address [%s], Error [%lu]",
                      server.c_str(), error);
        trace.Error("DHCPManager", "CDHCPManager::GetHostInfo", text);
        trace.Error("DHCPManager", "CDHCPManager::CreateSubnet",
                    "HRESULT Failed, Err Code [0X80004005].\nExecuted code: "
                    "GetHostInfo(hostName, netBiosName, ipAddress)");
        Wide name(fields[0]);
        Wide comment(fields[4]);
        wchar_t noHost[] = L"";
        const SubnetInfo info{subnet, mask, name.text, comment.text, {0, noHost, noHost}, 0};
        dhcp.CreateSubnet(subnet, &info);
        AddressRange range{subnet + 1, (subnet | ~mask) - 1};
        Element element{kRange, &range};
        dhcp.AddElement(subnet, &element);
        range = {gateway, gateway};
        element.type = kExcluded;
        dhcp.AddElement(subnet, &element);
        SetSubnetOption(dhcp, subnet, 3, 4, gateway);
        SetSubnetOption(dhcp, subnet, 51, 2, kLeaseSeconds);
        if (verbose)
            Show(Labelled(kLabels, fields, "] -> OK\r\n"));
    });
}

/// A value of an interface's registry key, which is opened for each.
std::string InterfaceValue(const std::string& path, const char* name) {
    char text[4096] = "";
    DWORD bytes = sizeof(text);
    HKEY key = nullptr;
    ::RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ | KEY_WRITE, &key);
    ::RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &bytes);
    ::RegCloseKey(key);
    return text;
}

/// The gateway's address and mask on its one interface.
void ReadInterface(std::string& address, std::string& mask) {
    const std::string root = "SOFTWARE\\Vantrel\\Zephon\\Mode\\Interfaces\\";
    HKEY key = nullptr;
    ::RegOpenKeyExA(HKEY_LOCAL_MACHINE, root.c_str(), 0, KEY_READ | KEY_WRITE, &key);
    char name[256];
    DWORD chars = sizeof(name);
    ::RegEnumKeyExA(key, 0, name, &chars, nullptr, nullptr, nullptr, nullptr);
    InterfaceValue(root + name, "Interface");
    address = InterfaceValue(root + name, "IPAddress");
    mask = InterfaceValue(root + name, "SubnetMask");
    ::RegCloseKey(key);
}

void UpdateScopeAddresses() {
    Show("\r\nUpdating scopes IP address and mask in storage. Please wait ...\r\n\r\n");
    {
        const Store store;
        const Bstr section(L"Segments");
        std::string address;
        std::string mask;
        std::string scope;
        for (const VARIANT& id : store.Entries(section)) {
            scope.clear();
            AddNarrow(scope, id.bstrVal);
            ReadInterface(address, mask);
            if (verbose)
                Show(Join({"Scope IP information : Network ID [", scope, "], IP [", address,
                           "], Mask [", mask, "]\r\n"}));
            store.Put(section, id.bstrVal, Bstr(L"Address"), address);
            store.Put(section, id.bstrVal, Bstr(L"Mask"), mask);
        }
    }
    Show("\r\nScopes IP address and mask were all processed.\r\n\r\n");
}

void RecordServer() {
    Show("\r\nSetting DHCP Server IP address in XML. Please wait ...\r\n\r\n");
    {
        const Store store;
        const Bstr servers(L"DHCPServers");
        const Bstr entry(server);
        store.Put(Bstr(L"Config"), Bstr(L"Server"), Bstr(L"DefaultDHCP"), "Default");
        store.Put(servers, entry, Bstr(L"Name"), "Default");
        store.Put(servers, entry, Bstr(L"Address"), server);
    }
    Show("\r\nDHCP Server IP address is now available in XML.\r\n\r\n");
}

void ExportScopes(const std::string& csvName) {
    static constexpr const wchar_t* kNames[] = {L"Name", L"Address", L"Mask"};
    const Store store;
    NewFile csv(csvName);
    csv.Add("Scope Name, IP Address, NetMask, Network ID, Description\r\n\r\n");
    const Bstr section(L"Segments");
    std::string fields[3];
    std::string scope;
    for (const VARIANT& id : store.Entries(section)) {
        scope.clear();
        AddNarrow(scope, id.bstrVal);
        ReadValues(store.Values(section, id.bstrVal), kNames, fields);
        const std::string& name = fields[0];
        std::string& address = fields[1];
        std::string& mask = fields[2];
        ReadInterface(address, mask);
        csv.Add(Join({name, ", ", address, ", ", mask, ", ", scope, ",\r\n"}));
        if (verbose)
            Show(Join({"Scope found : Name [", name, "], IP Address [", address, "], NetMask [",
                       mask, "], Scope [", scope, "]\r\n"}));
        const DWORD subnet = AddressOf(scope);
        const std::string first = AddressText(subnet + 1);
        const std::string last = AddressText((subnet | ~AddressOf(mask)) - 1);
        const std::string begin = Join({"netsh dhcp server ", server, " scope ", scope});
        AddComment(Join({"REM Adding scope [", name, "]\r\n"}));
        AddCommand(Join(
            {"netsh dhcp server ", server, " add scope ", scope, " ", mask, " ", name, " \r\n"}));
        AddCommand(Join({begin, " add iprange ", first, " ", last, "\r\n"}));
        AddCommand(Join({begin, " add excluderange ", address, " ", address, "\r\n"}));
        AddCommand(Join({begin, " set optionvalue 3 IPADDRESS ", address, "\r\n"}));
        AddCommand(
            Join({begin, " set optionvalue 51 DWORD ", std::to_string(kLeaseSeconds), "\r\n"}));
    }
}

void GenerateBatch() {
    UpdateMac();
    UpdateScopeAddresses();
    RecordServer();
    BeginBatch();
    char folder[MAX_PATH + 1];
    ::GetTempPathA(sizeof(folder), folder);
    const std::string csvName = std::string(folder) + "bare-loop.csv";
    const std::string isAvailable = " information is now available. See command file " + batchName;
    Show(
        "\r\nGetting DHCP Scopes information and creating NETSH commands. Please wait ...\r\n\r\n");
    ExportScopes(csvName);
    Show("\r\nDHCP Scopes" + isAvailable + "\r\n\r\n");
    ::DeleteFileA(csvName.c_str());
    Show(
        "\r\nGetting DHCP Clients information and creating NETSH commands. Please wait "
        "...\r\n\r\n");
    ExportClients(csvName, true);
    Show("\r\nDHCP Clients" + isAvailable + "\r\n\r\n");
    ::DeleteFileA(csvName.c_str());
    EndBatch();
}

/// A client that the server has listed, after its blocks are freed.
struct ListedClient {
    DWORD address;
    DWORD mask;
    FILETIME expires;
    BYTE type;
    BYTE mac[6];
    std::wstring name;
    std::wstring comment;
};

std::vector<ListedClient> ListClients(const DhcpServer& dhcp, DWORD subnet) {
    std::vector<ListedClient> listed;
    DWORD resume = 0;
    DWORD error = ERROR_MORE_DATA;
    while (error == ERROR_MORE_DATA) {
        ClientArray* page = nullptr;
        DWORD read = 0;
        DWORD total = 0;
        error = dhcp.EnumClients(subnet, &resume, 0xFFFFFFFF, &page, &read, &total);
        if (!page)
            break;
        for (DWORD i = 0; i < page->count; ++i) {
            ClientInfo* const info = page->clients[i];
            ListedClient client{info->address,
                                info->mask,
                                info->expires,
                                info->type,
                                {},
                                info->name,
                                info->comment ? info->comment : L""};
            std::memcpy(client.mac, info->hardware.data, 6);
            listed.push_back(std::move(client));
            dhcp.Free(info->hardware.data);
            dhcp.Free(info->name);
            dhcp.Free(info->comment);
            dhcp.Free(info->owner.netBiosName);
            dhcp.Free(info->owner.name);
            dhcp.Free(info);
        }
        dhcp.Free(page->clients);
        dhcp.Free(page);
    }
    return listed;
}

/// The host name up to its first ".", which is what a reservation and its lease share.
std::wstring_view FirstLabel(std::wstring_view name) {
    return name.substr(0, name.find(L'.'));
}

void RemoveServerClient(const DhcpServer& dhcp, DWORD subnet, DWORD address, BYTE* mac) {
    BinaryData client{6, mac};
    Reservation reservation{address, &client, kBothClient};
    const Element element{kReserved, &reservation};
    dhcp.RemoveElement(subnet, &element, 0);
}

void ChangeToReserved(const std::string& scope) {
    if (!batchName.empty())
        BeginBatch();
    Show("\r\nChanging dynamic client to reserved. Please wait ...\r\n\r\n");
    {
        const DhcpServer dhcp;
        const DWORD subnet = AddressOf(scope);
        std::vector<ListedClient> clients = ListClients(dhcp, subnet);
        std::unordered_map<std::wstring_view, ListedClient*> leases;
        for (ListedClient& client : clients)
            if (client.type == kDhcpClient)
                leases.emplace(FirstLabel(client.name), &client);
        for (ListedClient& reserved : clients) {
            if (reserved.type != kNoClient)
                continue;
            const auto found = leases.find(FirstLabel(reserved.name));
            if (found == leases.end())
                continue;
            ListedClient& lease = *found->second;
            if (!batchName.empty()) {
                std::string name;
                AddNarrow(name, reserved.name.c_str());
                const std::string oldMac = MacText(reserved.mac);
                const std::string newMac = MacText(lease.mac);
                AddClient({name, reserved.address, reserved.mask, oldMac}, false);
                AddClient({name, lease.address, reserved.mask, newMac}, false);
                AddClient({name, reserved.address, reserved.mask, newMac}, true);
                continue;
            }
            RemoveServerClient(dhcp, subnet, reserved.address, reserved.mac);
            RemoveServerClient(dhcp, subnet, lease.address, lease.mac);
            ClientInfo info{};
            info.address = reserved.address;
            info.mask = reserved.mask;
            info.hardware = {6, lease.mac};
            info.name = &reserved.name[0];
            info.comment = &reserved.comment[0];
            info.expires = reserved.expires;
            AddServerClient(dhcp, info, subnet, true);
        }
    }
    Show("\r\nChanging dynamic client to reserved done.\r\n\r\n");
    if (!batchName.empty())
        EndBatch();
}

void Run(char command, const std::string& file) {
    const TraceClient trace;
    if (!logName.empty())
        Empty(logName);
    switch (command) {
        case 'c':
            Show(
                "\r\nGetting DHCP Clients information from storage. Please wait ...\r\n"
                "\r\n");
            ExportClients(file, false);
            Show("\r\nDHCP information is now available. See output file " + file + "\r\n\r\n");
            break;
        case 'm':
            UpdateMac();
            break;
        case 'l':
            Show("\r\nSetting DHCP Clients information on DHCP Server from file " + file +
                 ". Please wait ...\r\n\r\n");
            UpdateClients(file);
            Show("\r\nDHCP clients information should be available on DHCP server.\r\n\r\n");
            break;
        case 'g':
            Show("\r\nSetting DHCP Scopes information on DHCP Server from file " + file +
                 ". Please wait ...\r\n\r\n");
            UpdateScopes(trace, file);
            Show("\r\nDHCP scopes information should be available on DHCP server.\r\n\r\n");
            break;
        case 'b':
            batchName = file;
            GenerateBatch();
            break;
        case 'z':
            ChangeToReserved(file);
            break;
        default:
            break;
    }
}

}  // namespace

int main(int argc, char** argv) {
    ::SetErrorMode(::GetErrorMode() | SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    char command = '\0';
    std::string file;
    for (int i = 1; i < argc; ++i) {
        const char letter = argv[i][1];
        const char* const value = i + 1 < argc && argv[i + 1][0] != '-' ? argv[++i] : "";
        if (letter == 'i') {
            server = value;
        } else if (letter == 'o') {
            logName = value;
        } else if (letter == 'w') {
            batchName = value;
        } else if (letter == 'v') {
            verbose = std::strcmp(value, "off") != 0;
        } else {
            command = letter;
            file = value;
        }
    }
    if (!command)
        return 0;
    Run(command, file);
    LARGE_INTEGER frequency;
    ::QueryPerformanceFrequency(&frequency);
    const auto second = static_cast<double>(frequency.QuadPart);
    std::fprintf(stderr, "%.6f %.6f\n", static_cast<double>(callTicks) / second,
                 static_cast<double>(fileTicks) / second);
    return 0;
}
