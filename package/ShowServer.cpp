// show_server FILE: prints the state of the stand-in DHCP server in the console's code page.
#include <windows.h>

#include <boost/json.hpp>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <string>

namespace {

namespace json = boost::json;

constexpr long long kNever = 0x7FFFFFFFFFFFFFFF;

std::string ConsoleText(const json::string& utf8) {
    const auto bytes = static_cast<int>(utf8.size());
    std::wstring wide(utf8.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        ::MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), bytes, wide.data(), bytes)));
    std::string narrow(utf8.size() * 2, '\0');  // enough for every code page
    narrow.resize(static_cast<std::size_t>(::WideCharToMultiByte(
        ::GetConsoleOutputCP(), 0, wide.c_str(), static_cast<int>(wide.size()), narrow.data(),
        static_cast<int>(narrow.size()), nullptr, nullptr)));
    return narrow;
}

/// Returns a text or a number; empty if the member is null or missing.
std::string Member(const json::object& object, const char* name) {
    const json::value* const value = object.if_contains(name);
    if (!value || value->is_null())
        return {};
    return value->is_string() ? ConsoleText(value->get_string()) : json::serialize(*value);
}

const json::object& Members(const json::object& object, const char* name) {
    static const json::object none;
    const json::value* const value = object.if_contains(name);
    return value && value->is_object() ? value->get_object() : none;
}

std::string OptionName(const std::string& option) {
    if (option == "3")
        return "router";
    return option == "51" ? "lease" : "option " + option;
}

void ShowScope(const std::string& id, const json::object& scope) {
    const std::string comment = Member(scope, "comment");
    std::printf("  %s mask %s  \"%s\"%s%s\n", id.c_str(), Member(scope, "mask").c_str(),
                Member(scope, "name").c_str(), comment.empty() ? "" : ("  " + comment).c_str(),
                Member(scope, "state") == "1" ? "  disabled" : "");
    const json::object& range = Members(scope, "range");
    const std::string limits = Member(range, "first") + " to " + Member(range, "last");
    std::printf("      range       %s\n", range.empty() ? "none" : limits.c_str());
    const json::object& exclusions = Members(scope, "exclusions");
    for (const auto& entry : exclusions) {
        const std::string first = entry.key();
        const std::string last = Member(exclusions, first.c_str());
        std::printf("      not used    %s%s\n", first.c_str(),
                    first == last ? "" : (" to " + last).c_str());
    }
    for (const auto& option : Members(scope, "options")) {
        std::string text;
        for (const json::value& element : option.value().as_array())
            text += (text.empty() ? "" : ", ") +
                    Member(element.as_object(), element.as_object().begin()->key().data());
        std::printf("      %-11s %s%s\n", OptionName(option.key()).c_str(), text.c_str(),
                    option.key() == "51" ? " seconds" : "");
    }
    for (const auto& reservation : Members(scope, "reservations"))
        std::printf("      reserved    %-15s for %s\n", reservation.key().data(),
                    Member(reservation.value().as_object(), "mac").c_str());
}

std::string ExpiryText(const json::object& client) {
    const std::string text = Member(client, "expires");
    const long long expires = text.empty() ? 0 : std::stoll(text);
    if (expires == 0 || expires == kNever)
        return expires ? "never expires" : "inactive";
    const FILETIME moment{static_cast<DWORD>(expires), static_cast<DWORD>(expires >> 32)};
    SYSTEMTIME time{};
    ::FileTimeToSystemTime(&moment, &time);
    char until[40];
    std::snprintf(until, sizeof(until), "until %04u-%02u-%02u %02u:%02u:%02u UTC", time.wYear,
                  time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond);
    return until;
}

std::string KindText(const json::object& client) {
    const std::string type = Member(client, "type");
    if (type.empty() || type == "100")
        return "none";
    return type == "1" ? "DHCP" : type;
}

void ShowClient(const std::string& address, const json::object& client) {
    std::printf("  %-15s %-17s type %-5s %-31s %s\n", address.c_str(),
                Member(client, "mac").c_str(), KindText(client).c_str(), ExpiryText(client).c_str(),
                Member(client, "name").c_str());
}

void Show(const std::wstring& path) {
    std::ifstream file(path.c_str(), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const json::value state = text.empty() ? json::object() : json::parse(text);
    const json::object& scopes = Members(state.as_object(), "scopes");
    const json::object& clients = Members(state.as_object(), "clients");
    std::printf("%zu scopes\n", scopes.size());
    for (const auto& scope : scopes)
        ShowScope(scope.key(), scope.value().as_object());
    std::printf("%zu clients\n", clients.size());
    for (const auto& client : clients)
        ShowClient(client.key(), client.value().as_object());
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 2) {
        std::fputs("show_server FILE: what the stand-in DHCP server holds\n", stderr);
        return 1;
    }
    try {
        Show(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "show_server: %s\n", error.what());
        return 1;
    }
    return 0;
}
