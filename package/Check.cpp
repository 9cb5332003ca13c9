// check FILE: lists the lines of clients.csv or scopes.csv that would be skipped or come out wrong.
// check FILE LOG: compares the file with the log of its import (dhcpmigrate -l or -g with -o).
// The exit code is 0 after PASS, 1 after FAIL, 2 if nothing could be checked.
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;
using Report = std::function<void(const std::string& finding)>;  // about the current line

constexpr std::uint32_t kNoAddress = 0xFFFFFFFF;

/// Split at LF, as in the import; the CR before it is removed.
bool ReadLines(const char* path, Texts& lines) {
    std::ifstream file(path, std::ios::binary);
    for (std::string line; std::getline(file, line); lines.push_back(line))
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
    return file.eof();
}

/// Split at each comma; blanks and tabs are removed from both ends of a field.
Texts Fields(const std::string& line) {
    Texts fields;
    std::istringstream parts(line + ',');
    for (std::string part; std::getline(parts, part, ',');) {
        part.erase(0, part.find_first_not_of(" \t"));
        fields.push_back(part.substr(0, part.find_last_not_of(" \t") + 1));
    }
    return fields;
}

/// The import reads only four decimal parts without leading zeros as an address.
std::uint32_t AddressOf(const std::string& text) {
    std::uint32_t a = 256, b = 0, c = 0, d = 0;
    char same[20];
    std::sscanf(text.c_str(), "%3u.%3u.%3u.%3u", &a, &b, &c, &d);
    std::snprintf(same, sizeof(same), "%u.%u.%u.%u", a, b, c, d);
    return (a | b | c | d) < 256 && text == same ? a << 24 | b << 16 | c << 8 | d : kNoAddress;
}

/// One bits, then at least two zero bits: a smaller network has no range.
bool IsMask(std::uint32_t mask) {
    return mask != 0 && ~mask >= 3 && (~mask & (~mask + 1)) == 0;
}

bool IsMac(const std::string& text) {
    for (std::size_t at = 0; at < text.size(); ++at)
        if (at % 3 == 2 ? text[at] != '-' : !std::isxdigit(static_cast<BYTE>(text[at])))
            return false;
    return text.size() == 17;
}

void CheckTexts(const Texts& fields, const Report& report) {
    const std::string& name = fields[0];
    bool special = name.rfind(';', 0) == 0;
    for (std::size_t at = 0; at < name.size(); ++at) {
        special = special || static_cast<BYTE>(name[at]) < ' ' ||
                  std::string("&|<>^%\"").find(name[at]) != std::string::npos;
        if (::IsDBCSLeadByte(static_cast<BYTE>(name[at])))
            ++at;  // the second byte of a character may look like one of these
    }
    if (special)
        report("cmd spoils names with & | < > ^ % \" or a leading ;");
    if (std::count(fields.begin(), fields.end() - 2, "") > 0)
        report("an empty field, which cmd's loops skip");
}

/// Reports a text that an earlier line of the file has as well, in whatever case.
void CheckUnique(const char* what, std::string text, std::size_t line, const Report& report) {
    static std::map<std::string, std::size_t> lines;
    ::CharUpperA(text.data());
    const auto [entry, isNew] = lines.emplace(text, line);
    if (!isNew)
        report("the same " + std::string(what) + " as in line " + std::to_string(entry->second));
}

void CheckClient(const Texts& fields, std::size_t line, const Report& report) {
    const std::uint32_t address = AddressOf(fields[1]), mask = AddressOf(fields[2]);
    CheckTexts(fields, report);
    if (address == kNoAddress || !IsMask(mask))
        report("not an address with a mask: " + fields[1] + ", " + fields[2]);
    if (!IsMac(fields[5]))
        report("not a MAC of six pairs with dashes: " + fields[5]);
    if (fields[6] != "Reserved" && fields[6] != "Dynamic")
        report("Lease Status is neither Reserved nor Dynamic: " + fields[6]);
    CheckUnique("address", fields[1], line, report);
    CheckUnique("MAC and scope", fields[5] + std::to_string(address & mask), line, report);
}

void CheckScope(const Texts& fields, std::size_t /*line*/, const Report& report) {
    static std::vector<std::pair<std::uint32_t, std::uint32_t>> earlier;
    const std::uint32_t gateway = AddressOf(fields[1]), mask = AddressOf(fields[2]);
    const std::uint32_t scope = AddressOf(fields[3]);
    CheckTexts(fields, report);
    if (!IsMask(mask) || (scope & ~mask) != 0)
        report("not a network with a mask: " + fields[3] + ", " + fields[2]);
    else if ((gateway & mask) != scope || gateway == scope || gateway == (scope | ~mask))
        report("not an address of a host in this network: " + fields[1]);
    for (const auto& [other, otherMask] : earlier)
        if (((other ^ scope) & otherMask & mask) == 0)
            report("overlaps a scope above");
    earlier.emplace_back(scope, mask);
}

struct Kind {
    const char* header;
    Texts titles;  // of the fields, in the log of the import
    void (*check)(const Texts& fields, std::size_t line, const Report& report);
};
const Kind kKinds[] = {
    {"Client Name",
     {"Client to add in DHCP server : Name", "IP Address", "NetMask", "DNS1", "DNS2", "MAC Address",
      "Lease Status"},
     CheckClient},
    {"Scope Name",
     {"Scope to add in DHCP server : Name", "IP Address", "NetMask", "Scope", "Comments"},
     CheckScope}};

/// Removes the record's line from those of the log and returns its result, or an empty text.
std::string TakeResult(const Kind& kind, const Texts& fields, std::multiset<std::string>& log) {
    std::string text;
    for (std::size_t i = 0; i < std::min(fields.size(), kind.titles.size()); ++i)
        text += (i > 0 ? ", " : "") + kind.titles[i] + " [" + fields[i] + "]";
    text += " -> ";
    const auto line = log.lower_bound(text);
    if (line == log.end() || line->rfind(text, 0) != 0)
        return {};
    return log.extract(line).value().substr(text.size());
}

/// Without a log the records themselves are checked.
int Check(const Kind& kind, const Texts& lines, const Texts* log) {
    std::multiset<std::string> logged;
    for (const std::string& text : log ? *log : Texts())
        if (text.rfind(kind.titles[0], 0) == 0)
            logged.insert(text);
    std::set<unsigned long> codes;
    std::size_t line = 0, records = 0, findings = 0, tried = 0;
    for (const std::string& text : lines) {
        if (++line == 1 || text.empty())
            continue;
        ++records;
        const Texts fields = Fields(text);
        const Report report = [&](const std::string& finding) {
            std::string shown = "line " + std::to_string(line) + " [" + fields[0] + "]: " + finding;
            for (char& c : shown)
                c = c >= 0 && c < ' ' ? '?' : c;
            std::puts(shown.c_str());
            ++findings;
        };
        const std::string result = log ? TakeResult(kind, fields, logged) : "";
        if (text.front() == '#')
            report("the import skips lines that begin with #");
        else if (log && result != "OK")
            report(result.empty() ? "not in the log" : result);
        else if (!log && fields.size() != kind.titles.size())
            report(std::to_string(fields.size()) + " fields (a comma too few or too many)");
        else if (!log)
            kind.check(fields, line, report);
        tried += result.empty() ? 0U : 1U;
        codes.insert(std::strtoul(result.c_str() + result.find('[') + 1, nullptr, 10));
    }
    codes.erase(0);  // of results without a code
    for (const unsigned long code : codes) {
        std::printf("%lu: ", code);
        std::fflush(stdout);
        const std::string command = code < 20000 ? "net helpmsg " : "dhcpmigrate -e ";
        std::system((command + std::to_string(code) + " & echo.").c_str());
    }
    const bool passed = records > 0 && findings == 0 && logged.empty();
    std::printf(log ? "%s: %zu records, %zu findings, %zu tried, %zu more in the log\n"
                    : "%s: %zu records, %zu findings\n",
                passed ? "PASS" : "FAIL", records, findings, tried, logged.size());
    return passed ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    Texts lines, log;
    if (argc > 1 && ReadLines(argv[1], lines) && (argc == 2 || ReadLines(argv[2], log)))
        for (const Kind& kind : kKinds)
            if (!lines.empty() && lines[0].rfind(kind.header, 0) == 0)
                return Check(kind, lines, argc > 2 ? &log : nullptr);
    std::puts("check FILE [LOG]: FILE is clients.csv or scopes.csv, LOG the log of its import");
    return 2;
}
