#include "lab/storage/StorageComponent.h"

#include <set>

#include "lab/journal/Environment.h"
#include "lab/journal/FaultScript.h"
#include "lab/journal/Journal.h"
#include "lab/storage/ComServer.h"

namespace lab {
namespace {

std::mutex openStoresMutex;
std::set<StoreFile*> openStores;

void RememberOpen(StoreFile* file, bool isOpen) {
    const std::lock_guard<std::mutex> lock(openStoresMutex);
    if (isOpen)
        openStores.insert(file);
    else
        openStores.erase(file);
}

std::wstring Text(BSTR text) {
    return text ? std::wstring(text, ::SysStringLen(text)) : std::wstring();
}

/// Names stand bare in the journal where no reader can mistake them.
std::string Word(BSTR text) {
    const std::string quoted = Quoted(text, ::SysStringLen(text));
    const bool isPlain = text && quoted.size() > 2 && quoted != "\"null\"" &&
                         quoted.find_first_of(" \\") == std::string::npos;
    return isPlain ? quoted.substr(1, quoted.size() - 2) : quoted;
}

/// A call here means that the caller's interface has its operations in another order.
HRESULT UnusedSlot(const char* function) {
    JournalMisuse("store " + std::string(function) + " called");
    return E_NOTIMPL;
}

/// The interface's id: the published one, or the one that a rehearsal names.
IID InterfaceId() {
    const std::wstring text = EnvironmentText(L"DHCPLAB_STORAGE_IID");
    IID id = IID_LabZakStorageDB;
    if (!text.empty() && FAILED(::IIDFromString(text.c_str(), &id)))
        JournalMisuse("DHCPLAB_STORAGE_IID is no id: " + Escape(text));
    return id;
}

void SaveLeftOpen(StoreFile& file) {
    const HRESULT hr = file.Save();
    JournalMisuse("store left open, saved now -> " + Hex(static_cast<std::uint32_t>(hr)));
}

}  // namespace

/// One call as the journal shows it.
struct StorageComponent::Call {
    const char* function;
    std::string arguments;

    HRESULT Result(HRESULT hr, const std::string& more = std::string()) const {
        Journal("store " + std::string(function) + arguments + " -> " +
                Hex(static_cast<std::uint32_t>(hr)) + (more.empty() ? "" : " " + more));
        return hr;
    }
    HRESULT Misuse(const std::string& what, HRESULT hr) const {
        JournalMisuse("store " + std::string(function) + ": " + what);
        return hr;
    }
};

std::atomic<long> StorageComponent::liveObjects{0};

StorageComponent::StorageComponent() {
    ++liveObjects;
}

StorageComponent::~StorageComponent() {
    if (m_state == State::Open) {
        RememberOpen(&m_file, false);
        SaveLeftOpen(m_file);
    }
    --liveObjects;
}

void StorageComponent::CloseAllAtUnload() {
    // No lock: other threads have ended or have left this DLL, and one may have died holding it.
    for (StoreFile* const file : openStores)
        SaveLeftOpen(*file);
    if (liveObjects > 0)
        JournalMisuse("store references left: " + std::to_string(liveObjects));
}

HRESULT StorageComponent::QueryInterface(REFIID iid, void** object) {
    if (!object)
        return E_POINTER;
    const bool isKnown = ::IsEqualIID(iid, IID_IUnknown) || ::IsEqualIID(iid, InterfaceId()) ||
                         ::IsEqualIID(iid, IID_IZakStorageDB);
    *object = isKnown ? static_cast<IZakStorageDB*>(this) : nullptr;
    if (!isKnown)
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG StorageComponent::AddRef() {
    return ++m_references;
}

ULONG StorageComponent::Release() {
    const ULONG left = --m_references;
    if (left == 0)
        delete this;
    return left;
}

HRESULT StorageComponent::Initialize(BSTR bstrDBPath) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Call call{"Initialize", " " + Quoted(bstrDBPath, ::SysStringLen(bstrDBPath))};
    if (m_state == State::Open)
        return call.Result(call.Misuse("store is open already", E_UNEXPECTED));
    m_state = State::Failed;
    if (!bstrDBPath)
        return call.Result(call.Misuse("path is null", E_POINTER));
    if (const auto fault = FaultFor(call.function))
        return call.Result(static_cast<HRESULT>(*fault));
    const HRESULT hr = m_file.Open(Text(bstrDBPath));
    if (SUCCEEDED(hr)) {
        m_state = State::Open;
        RememberOpen(&m_file, true);
    }
    return call.Result(hr,
                       m_file.FailedLine() ? "line " + std::to_string(m_file.FailedLine()) : "");
}

HRESULT StorageComponent::CheckOpen(const char* function) {
    if (m_state == State::Open)
        return S_OK;
    if (m_state != State::Failed) {
        const bool isNew = m_state == State::New;
        Call{function, {}}.Misuse(isNew ? "before Initialize" : "after Uninitialize", E_UNEXPECTED);
    }
    return E_UNEXPECTED;
}

HRESULT StorageComponent::Check(const Call& call, E_ZAKSTORAGE_VISIBILITY visibility, long index,
                                BSTR section) {
    if (visibility != E_ZAKSTORAGE_PUBLIC)
        return call.Misuse("visibility " + std::to_string(visibility), E_INVALIDARG);
    if (index != 0)
        return call.Misuse("index " + std::to_string(index), E_INVALIDARG);
    if (!section)
        return call.Misuse("section is null", E_INVALIDARG);
    const HRESULT hr = CheckOpen(call.function);
    const auto fault = FAILED(hr) ? std::nullopt : FaultFor(call.function);
    return fault ? static_cast<HRESULT>(*fault) : hr;
}

HRESULT StorageComponent::Answer(const Call& call, HRESULT hr, OwnedVariant& made, VARIANT* out) {
    if (!out)
        return call.Result(call.Misuse("out VARIANT is null", E_POINTER));
    if (out->vt != VT_EMPTY)
        call.Misuse("out VARIANT is not empty, its content is lost: " + Describe(*out), S_OK);
    call.Result(hr, SUCCEEDED(hr) && JournalIsOn() ? Describe(made.get()) : "");
    *out = made.Detach();
    return hr;
}

HRESULT StorageComponent::get_Value(E_ZAKSTORAGE_VISIBILITY visibility, long index, BSTR section,
                                    BSTR entry, BSTR valueName, VARIANT* value) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Call call{"get_Value", " " + Word(section) + " " + Word(entry) + " " + Word(valueName)};
    OwnedVariant made;
    HRESULT hr = Check(call, visibility, index, section);
    if (hr == S_OK)
        hr = m_file.Get(Text(section), Text(entry), Text(valueName), made);
    return Answer(call, hr, made, value);
}

HRESULT StorageComponent::put_Value(E_ZAKSTORAGE_VISIBILITY visibility, long index, BSTR section,
                                    BSTR entry, BSTR valueName, VARIANT value) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Call call{"put_Value", " " + Word(section) + " " + Word(entry) + " " + Word(valueName) +
                                     " " + Describe(value)};
    HRESULT hr = Check(call, visibility, index, section);
    if (value.vt != VT_BSTR)
        hr = call.Misuse("value is no text: " + Describe(value), E_INVALIDARG);
    else if (!entry || !valueName)
        hr = call.Misuse("entry or value name is null", E_INVALIDARG);
    if (hr == S_OK)
        m_file.Put(Text(section), Text(entry), Text(valueName), Text(value.bstrVal));
    return call.Result(hr);
}

HRESULT StorageComponent::Uninitialize() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Call call{"Uninitialize", {}};
    HRESULT hr = CheckOpen(call.function);
    if (FAILED(hr))
        return call.Result(hr);
    // Closed whatever comes out: the caller has no second try, and a planned fault is about the
    // answer, not about the data.
    hr = m_file.Save();
    m_state = State::Closed;
    RememberOpen(&m_file, false);
    const auto fault = FaultFor(call.function);
    return call.Result(fault ? static_cast<HRESULT>(*fault) : hr);
}

HRESULT StorageComponent::Enumerate(E_ZAKSTORAGE_VISIBILITY visibility, long index, BSTR section,
                                    BSTR entry, VARIANT* entries) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Call call{"Enumerate", " " + Word(section)};
    OwnedVariant made;
    HRESULT hr = Check(call, visibility, index, section);
    if (entry)
        hr = call.Misuse("only sections can be listed, entry is " + Word(entry), E_INVALIDARG);
    if (hr == S_OK)
        hr = m_file.List(Text(section), made);
    return Answer(call, hr, made, entries);
}

HRESULT StorageComponent::EnumerateWithValue(E_ZAKSTORAGE_VISIBILITY visibility, long index,
                                             BSTR section, BSTR entry, BSTR unused,
                                             VARIANT* pairs) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Call call{"EnumerateWithValue", " " + Word(section) + " " + Word(entry)};
    OwnedVariant made;
    HRESULT hr = Check(call, visibility, index, section);
    if (!entry || unused)
        hr = call.Misuse(entry ? "the unused text is not null" : "entry is null", E_INVALIDARG);
    if (hr == S_OK)
        hr = m_file.ListValues(Text(section), Text(entry), made);
    return Answer(call, hr, made, pairs);
}

HRESULT StorageComponent::Unused4() {
    return UnusedSlot("Unused4");
}
HRESULT StorageComponent::Unused7() {
    return UnusedSlot("Unused7");
}
HRESULT StorageComponent::Unused8() {
    return UnusedSlot("Unused8");
}
HRESULT StorageComponent::Unused9() {
    return UnusedSlot("Unused9");
}
HRESULT StorageComponent::Unused10() {
    return UnusedSlot("Unused10");
}
HRESULT StorageComponent::Unused11() {
    return UnusedSlot("Unused11");
}

}  // namespace lab
