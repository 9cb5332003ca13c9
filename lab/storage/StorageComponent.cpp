#include "lab/storage/StorageComponent.h"

#include "lab/journal/Environment.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

constexpr long kPublic = 1;  // visibility of public values

std::wstring Text(BSTR text) {
    return text ? std::wstring(text, ::SysStringLen(text)) : std::wstring();
}

/// Returns a name for the journal, quoted only if it would be ambiguous otherwise.
std::string Word(BSTR text) {
    const std::string quoted = Quoted(text, ::SysStringLen(text));
    const bool isPlain = text && quoted.size() > 2 && quoted != "\"null\"" &&
                         quoted.find_first_of(" \\") == std::string::npos;
    return " " + (isPlain ? quoted.substr(1, quoted.size() - 2) : quoted);
}

/// Returns the interface id: the published one, or that in DHCPLAB_STORAGE_IID.
IID InterfaceId() {
    const std::wstring text = EnvironmentText(L"DHCPLAB_STORAGE_IID");
    IID id = IID_LabZakStorageDB;
    if (!text.empty() && FAILED(::IIDFromString(text.c_str(), &id)))
        JournalMisuse("DHCPLAB_STORAGE_IID is no id: " + Escape(text));
    return id;
}

}  // namespace

/// One call for the journal, with its numbers unchanged.
struct StorageComponent::Call {
    explicit Call(const char* name, std::string given = {})
        : function(name), arguments(std::move(given)) {}
    Call(const char* name, long theVisibility, long theIndex, const std::string& names)
        : function(name),
          arguments(" " + std::to_string(theVisibility) + " " + std::to_string(theIndex) + names),
          visibility(theVisibility),
          index(theIndex) {}

    HRESULT Result(HRESULT hr, const std::string& more = std::string()) const {
        Journal("store " + std::string(function) + arguments + " -> " +
                Hex(static_cast<std::uint32_t>(hr)) + (more.empty() ? "" : " " + more));
        return hr;
    }
    HRESULT Misuse(const std::string& what, HRESULT hr) const {
        JournalMisuse("store " + std::string(function) + ": " + what);
        return hr;
    }

    const char* function;
    std::string arguments;
    long visibility = kPublic;
    long index = 0;
};

std::atomic<long> StorageComponent::liveObjects{0};

StorageComponent::StorageComponent() {
    ++liveObjects;
}

StorageComponent::~StorageComponent() {
    if (m_state == State::Open)
        JournalMisuse("store left open, its changes are lost");
    --liveObjects;
}

HRESULT StorageComponent::QueryInterface(REFIID iid, void** object) {
    if (!object)
        return E_POINTER;
    const bool isKnown = ::IsEqualIID(iid, IID_IUnknown) || ::IsEqualIID(iid, InterfaceId());
    *object = isKnown ? this : nullptr;
    if (!isKnown)
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG StorageComponent::Release() {
    const ULONG left = --m_references;
    if (left == 0)
        delete this;
    return left;
}

HRESULT StorageComponent::Initialize(BSTR path) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Call call("Initialize", " " + Quoted(path, ::SysStringLen(path)));
    if (m_state == State::Open)
        return call.Result(call.Misuse("store is open already", E_UNEXPECTED));
    m_state = State::Failed;
    if (!path)
        return call.Result(call.Misuse("path is null", E_POINTER));
    if (const Fault fault = FaultFor(call.function); fault.code)
        return call.Result(static_cast<HRESULT>(fault.code));
    const HRESULT hr = m_file.Open(Text(path));
    if (SUCCEEDED(hr))
        m_state = State::Open;
    return call.Result(hr, Escape(std::string_view(m_file.Failure())));
}

HRESULT StorageComponent::CheckOpen(const Call& call) {
    if (m_state == State::New || m_state == State::Closed)
        call.Misuse(m_state == State::New ? "before Initialize" : "after Uninitialize", S_OK);
    return m_state == State::Open ? S_OK : E_UNEXPECTED;
}

HRESULT StorageComponent::Check(const Call& call, BSTR section, const char* misuse, Fault& fault) {
    if (call.visibility != kPublic)
        return call.Misuse("visibility " + std::to_string(call.visibility), E_INVALIDARG);
    if (call.index != 0)
        return call.Misuse("index " + std::to_string(call.index), E_INVALIDARG);
    if (!section || misuse)
        return call.Misuse(section ? misuse : "section is null", E_INVALIDARG);
    const HRESULT hr = CheckOpen(call);
    if (FAILED(hr))
        return hr;
    fault = FaultFor(call.function);
    return fault.IsRefusal() ? static_cast<HRESULT>(fault.code) : S_OK;
}

HRESULT StorageComponent::Read(const Call& call, BSTR section, const char* misuse, VARIANT* out,
                               const std::function<HRESULT(OwnedVariant&)>& read) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    Fault fault;
    OwnedVariant made;
    HRESULT hr = Check(call, section, out ? misuse : "out VARIANT is null", fault);
    if (out && out->vt != VT_EMPTY)
        call.Misuse("out VARIANT is not empty, its content is lost: " + Describe(*out), S_OK);
    hr = hr == S_OK && !fault.code ? read(made) : fault.After(hr);
    call.Result(hr, SUCCEEDED(hr) ? Describe(made.get()) : "");
    if (out)
        *out = made.Detach();
    return hr;
}

HRESULT StorageComponent::get_Value(long visibility, long index, BSTR section, BSTR entry,
                                    BSTR name, VARIANT* value) {
    const Call call("get_Value", visibility, index, Word(section) + Word(entry) + Word(name));
    return Read(call, section, nullptr, value, [&](OwnedVariant& made) {
        return m_file.Get(Text(section), Text(entry), Text(name), made);
    });
}

HRESULT StorageComponent::Enumerate(long visibility, long index, BSTR section, BSTR entry,
                                    VARIANT* entries) {
    const Call call("Enumerate", visibility, index, Word(section));
    return Read(call, section, entry ? "an entry given, only sections can be listed" : nullptr,
                entries, [&](OwnedVariant& made) { return m_file.List(Text(section), made); });
}

HRESULT StorageComponent::EnumerateWithValue(long visibility, long index, BSTR section, BSTR entry,
                                             BSTR unused, VARIANT* pairs) {
    const Call call("EnumerateWithValue", visibility, index, Word(section) + Word(entry));
    const char* const misuse = unused ? "the unused text is not null" : "entry is null";
    return Read(call, section, entry && !unused ? nullptr : misuse, pairs, [&](OwnedVariant& made) {
        return m_file.ListValues(Text(section), Text(entry), made);
    });
}

HRESULT StorageComponent::put_Value(long visibility, long index, BSTR section, BSTR entry,
                                    BSTR name, VARIANT value) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Call call("put_Value", visibility, index,
                    Word(section) + Word(entry) + Word(name) + " " + Describe(value));
    const char* const misuse = value.vt != VT_BSTR ? "value is no text"
                               : !entry || !name   ? "entry or value name is null"
                                                   : nullptr;
    Fault fault;
    const HRESULT hr = Check(call, section, misuse, fault);
    if (hr == S_OK)
        m_file.Put(Text(section), Text(entry), Text(name), Text(value.bstrVal));
    return call.Result(fault.After(hr));
}

HRESULT StorageComponent::Uninitialize() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Call call("Uninitialize");
    HRESULT hr = CheckOpen(call);
    if (FAILED(hr))
        return call.Result(hr);
    // Closed even on failure: the caller can't retry, and a planned fault changes only the answer.
    hr = m_file.Save();
    m_state = State::Closed;
    return call.Result(FaultFor(call.function).After(hr));
}

HRESULT StorageComponent::Unused(const char* function) {
    JournalMisuse("store " + std::string(function) + " called");
    return E_NOTIMPL;
}

}  // namespace lab
