#include "lab/journal/FaultScript.h"

#include <map>
#include <regex>
#include <sstream>
#include <vector>

#include "lab/journal/Environment.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

constexpr char kAny[] = "any";

struct Planned {
    std::string function;
    std::uint64_t number;  // which call; 0: every call
    Fault fault;
};

const std::wstring& ScriptPath() {
    static const std::wstring path = EnvironmentText(L"DHCPLAB_FAULTS");
    return path;
}

/// Time of the last change of the script: a change restarts the counts.
std::string ScriptTime() {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    ::GetFileAttributesExW(ScriptPath().c_str(), GetFileExInfoStandard, &data);
    return Hex(data.ftLastWriteTime.dwHighDateTime) + Hex(data.ftLastWriteTime.dwLowDateTime);
}

/// A malformed line is misuse, so that a typing error is noticed.
std::vector<Planned> ReadScript() {
    static const std::regex kNothing(R"(\s*(#[^]*)?)");
    static const std::regex kFault(R"(\s*(\w+)\s+(?:\*|#([1-9]\d{0,8}))\s*=\s*(done\s+)?)"
                                   R"((0[xX][0-9a-fA-F]{1,8}|\d{1,10})\s*)");
    std::vector<Planned> script;
    std::istringstream lines(ScriptPath().empty() ? std::string() : FileText(ScriptPath()));
    for (std::string line; std::getline(lines, line);) {
        std::smatch part;
        const auto code = std::regex_match(line, part, kFault)
                              ? ParseNumber(FromUtf8(part[4].str()), 0xFFFFFFFF)
                              : std::nullopt;
        if (code)
            script.push_back({part[1],
                              part[2].matched ? std::stoull(part[2]) : 0,
                              {static_cast<DWORD>(*code), part[3].matched}});
        else if (!std::regex_match(line, kNothing))
            JournalMisuse("faults: line not understood: " + Escape(line));
    }
    return script;
}

}  // namespace

Fault FaultFor(const char* function) {
    static const std::vector<Planned> script = ReadScript();
    if (script.empty())
        return {};
    const std::wstring path = ScriptPath() + L".counts";
    std::istringstream known(FileText(path));
    std::map<std::string, std::uint64_t> counts;
    std::string word;
    if (known >> word && word == ScriptTime())
        while (known >> word)
            known >> counts[word];
    std::string text = ScriptTime();
    ++counts[function];
    ++counts[kAny];
    for (const auto& [name, count] : counts)
        text += "\n" + name + " " + std::to_string(count);
    if (!WriteText(OpenFile(path, GENERIC_WRITE, 0, CREATE_ALWAYS), text))
        JournalMisuse("faults: the calls cannot be counted in a file");
    for (const auto& [name, number, fault] : script)
        if ((name == function || name == kAny) && (number == 0 || number == counts[name]))
            return fault;
    return {};
}

}  // namespace lab
