#include "lab/journal/FaultScript.h"

#include <regex>
#include <sstream>

#include "lab/journal/Environment.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

constexpr char kAny[] = "any";

const std::wstring& ScriptPath() {
    static const std::wstring path = EnvironmentText(L"DHCPLAB_FAULTS");
    return path;
}

/// When the script was written: with another one the counts start again.
std::string ScriptTime() {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    ::GetFileAttributesExW(ScriptPath().c_str(), GetFileExInfoStandard, &data);
    return Hex(data.ftLastWriteTime.dwHighDateTime) + Hex(data.ftLastWriteTime.dwLowDateTime);
}

const FaultScript& Script() {
    static const FaultScript script = [] {
        std::vector<std::string> errors;
        FaultScript read(ScriptPath().empty() ? std::string() : FileText(ScriptPath()), errors);
        for (const std::string& error : errors)
            JournalMisuse("faults " + error);
        return read;
    }();
    return script;
}

}  // namespace

FaultScript::FaultScript(std::string_view text, std::vector<std::string>& errors) {
    static const std::regex kNothing(R"(\s*(#[^]*)?)");
    static const std::regex kFault(R"(\s*(\w+)\s+(?:\*|#(\d{1,9}))\s*=\s*(done\s+)?)"
                                   R"((0[xX][0-9a-fA-F]{1,8}|\d{1,10})\s*)");
    std::istringstream lines{std::string(text)};
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        std::smatch part;
        if (std::regex_match(line, kNothing))
            continue;
        if (std::regex_match(line, part, kFault)) {
            const std::uint64_t call = part[2].matched ? std::stoull(part[2]) : 0;
            const auto code = ParseNumber(FromUtf8(part[4].str()), 0xFFFFFFFF);
            if (code && (call > 0 || !part[2].matched)) {
                m_lines[part[1]].push_back(
                    {number, call, {static_cast<DWORD>(*code), part[3].matched}});
                continue;
            }
        }
        errors.push_back("line " + std::to_string(number) + " not understood: " + Escape(line));
    }
}

Fault FaultScript::Find(std::string_view function, std::uint64_t callOfFunction,
                        std::uint64_t callOfAny) const {
    const Planned* first = nullptr;
    const auto look = [this, &first](std::string_view name, std::uint64_t call) {
        const auto found = m_lines.find(name);
        if (found == m_lines.end())
            return;
        for (const Planned& planned : found->second)
            if ((planned.number == 0 || planned.number == call) &&
                (!first || planned.line < first->line))
                first = &planned;
    };
    look(function, callOfFunction);
    look(kAny, callOfAny);
    return first ? first->fault : Fault();
}

Fault FaultFor(const char* function) {
    if (Script().IsEmpty())
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
    return Script().Find(function, counts[function], counts[kAny]);
}

}  // namespace lab
