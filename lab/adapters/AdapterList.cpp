#include "lab/adapters/AdapterList.h"

// In this order: winsock2.h refuses to come after windows.h, and iptypes.h needs both.
#include <winsock2.h>

#include <windows.h>

#include <iptypes.h>

#include <sstream>

#include "lab/journal/Journal.h"

namespace lab {
namespace {

std::string ToAnsi(const std::string& utf8) {
    const int bytes = static_cast<int>(utf8.size());
    std::wstring wide(utf8.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, wide.data(), bytes)));
    std::string ansi(wide.size() * 2, '\0');
    ansi.resize(static_cast<std::size_t>(
        ::WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()), ansi.data(),
                              static_cast<int>(ansi.size()), nullptr, nullptr)));
    return ansi;
}

}  // namespace

std::vector<LabAdapter> ReadAdapters(std::string_view text, std::vector<std::string>& errors) {
    constexpr std::size_t kAddressLength = sizeof(IP_ADDRESS_STRING::String);
    std::vector<LabAdapter> adapters;
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        std::istringstream words(line);
        std::string keyword;
        if (!(words >> keyword) || keyword.front() == '#')
            continue;
        std::string rest;
        std::getline(words >> std::ws, rest);
        if (keyword == "adapter" && !rest.empty() && rest.size() <= MAX_ADAPTER_NAME_LENGTH) {
            adapters.push_back({ToAnsi(rest), {}, {}});
            continue;
        }
        if (keyword == "description" && !adapters.empty() &&
            rest.size() <= MAX_ADAPTER_DESCRIPTION_LENGTH) {
            adapters.back().description = ToAnsi(rest);
            continue;
        }
        std::istringstream pair(rest);
        std::string address, mask, more;
        if (keyword == "address" && !adapters.empty() && pair >> address >> mask &&
            !(pair >> more) && address.size() < kAddressLength && mask.size() < kAddressLength) {
            adapters.back().addresses.emplace_back(address, mask);
            continue;
        }
        errors.push_back("line not understood: " + Escape(std::string_view(line)));
    }
    return adapters;
}

}  // namespace lab
