#include "lab/journal/FaultScript.h"

#include <array>
#include <regex>
#include <sstream>

#include "lab/journal/Environment.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

constexpr char kAny[] = "any";

/// Call counts of this process. The memory starts as zeros and is never unmapped: it has to live
/// as long as the process, whichever stand-in leaves first.
class CallCounts {
public:
    CallCounts() {
        const std::wstring name =
            L"Local\\dhcplab-calls-" + std::to_wstring(::GetCurrentProcessId());
        const HANDLE mapping = ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                                    0, sizeof(*m_table), name.c_str());
        void* const view = mapping ? ::MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0) : nullptr;
        if (view)
            m_table = static_cast<Table*>(view);
        else
            JournalMisuse("faults: no memory for the call counts, counting in this DLL alone");
    }

    std::uint64_t CountCall(std::string_view name) {
        const LONG64 key = Key(name);
        for (Slot& slot : *m_table) {
            const LONG64 found = ::InterlockedCompareExchange64(&slot.key, key, 0);
            if (found == 0 || found == key)
                return static_cast<std::uint64_t>(::InterlockedIncrement64(&slot.count));
        }
        JournalMisuse("faults: more functions than the call counts have room for");
        return 0;
    }

private:
    struct Slot {
        volatile LONG64 key;
        volatile LONG64 count;
    };
    using Table = std::array<Slot, 64>;

    /// FNV-1a: the table is shared by DLLs, so it holds numbers, not pointers to names.
    static LONG64 Key(std::string_view name) {
        std::uint64_t hash = 0xCBF29CE484222325;
        for (const char character : name)
            hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001B3;
        return static_cast<LONG64>(hash);
    }

    Table m_own{};
    Table* m_table = &m_own;
};

const FaultScript& Script() {
    static const FaultScript script = [] {
        std::vector<std::string> errors;
        const std::wstring path = EnvironmentText(L"DHCPLAB_FAULTS");
        FaultScript read(path.empty() ? std::string() : FileText(path), errors);
        for (const std::string& error : errors)
            JournalMisuse("faults " + error);
        return read;
    }();
    return script;
}

}  // namespace

FaultScript::FaultScript(std::string_view text, std::vector<std::string>& errors) {
    static const std::regex kNothing(R"(\s*(#[^]*)?)");
    static const std::regex kFault(
        R"(\s*(\w+)\s+(?:\*|#(\d{1,9}))\s*=\s*(?:0[xX]([0-9a-fA-F]{1,8})|(\d{1,10}))\s*)");
    std::istringstream lines{std::string(text)};
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        std::smatch part;
        if (std::regex_match(line, kNothing))
            continue;
        if (std::regex_match(line, part, kFault)) {
            const std::uint64_t call = part[2].matched ? std::stoull(part[2]) : 0;
            const std::uint64_t code =
                part[3].matched ? std::stoull(part[3], nullptr, 16) : std::stoull(part[4]);
            if (code <= 0xFFFFFFFF && (call > 0 || !part[2].matched)) {
                m_faults[part[1]].push_back({number, call, static_cast<DWORD>(code)});
                continue;
            }
        }
        errors.push_back("line " + std::to_string(number) + " not understood: " + Escape(line));
    }
}

std::optional<DWORD> FaultScript::Find(std::string_view function, std::uint64_t callOfFunction,
                                       std::uint64_t callOfAny) const {
    const Fault* first = nullptr;
    const auto look = [this, &first](std::string_view name, std::uint64_t call) {
        const auto found = m_faults.find(name);
        if (found == m_faults.end())
            return;
        for (const Fault& fault : found->second)
            if ((fault.number == 0 || fault.number == call) && (!first || fault.line < first->line))
                first = &fault;
    };
    look(function, callOfFunction);
    look(kAny, callOfAny);
    return first ? std::optional<DWORD>(first->code) : std::nullopt;
}

std::optional<DWORD> FaultFor(const char* function) {
    if (Script().IsEmpty())
        return std::nullopt;
    static CallCounts counts;
    return Script().Find(function, counts.CountCall(function), counts.CountCall(kAny));
}

}  // namespace lab
