#include "lab/dhcpserver/StateJson.h"

#include <algorithm>
#include <boost/json.hpp>
#include <stdexcept>

#include "lab/journal/Text.h"

namespace lab {
namespace {

namespace json = boost::json;

std::string JsonText(const Text& text) {
    return text ? json::serialize(json::string_view(ToUtf8(*text))) : "null";
}

std::string JsonText(DWORD address) {
    return '"' + Dotted(address) + '"';
}

std::string JsonText(const Identifier& hardware) {
    return '"' + HexBytes(hardware, "-") + '"';
}

std::string JsonText(const Reservation& reservation) {
    return "{\"mac\": " + JsonText(reservation.hardware) +
           ", \"types\": " + std::to_string(reservation.allowedTypes) + "}";
}

std::string JsonText(const OptionValue& option) {
    std::string text;
    for (const OptionElement& element : option)
        text += (text.empty() ? "" : ", ") +
                (element.type == api::kOptionAddress
                     ? "{\"ip\": " + JsonText(element.number) + "}"
                     : "{\"dword\": " + std::to_string(element.number) + "}");
    return "[" + text + "]";
}

std::string JsonText(const Client& client) {
    return "{\"mac\": " + JsonText(client.hardware) + ", \"name\": " + JsonText(client.name) +
           ", \"comment\": " + JsonText(client.comment) +
           ", \"expires\": " + std::to_string(client.expires) +
           ", \"type\": " + std::to_string(client.type) +
           ", \"ownerName\": " + JsonText(client.ownerName) +
           ", \"ownerAddress\": " + JsonText(client.ownerAddress) + "}";
}

std::string JsonText(const Scope& scope);

/// One member a line.
template <class Value>
std::string JsonTable(const std::map<DWORD, Value>& table, const std::string& indent,
                      std::string (*key)(std::uint32_t) = Dotted) {
    std::string text;
    for (const auto& [number, value] : table)
        text += (text.empty() ? "" : ",") + indent + '"' + key(number) + "\": " + JsonText(value);
    return "{" + text + "}";
}

std::string JsonText(const Scope& scope) {
    const auto& range = scope.range;
    return "{\"mask\": " + JsonText(scope.mask) + ", \"name\": " + JsonText(scope.name) +
           ", \"comment\": " + JsonText(scope.comment) +
           ", \"state\": " + std::to_string(scope.state) +
           (scope.netBiosName ? ", \"netBiosName\": " + JsonText(scope.netBiosName) : "") +
           (scope.hostName ? ", \"hostName\": " + JsonText(scope.hostName) : "") + ", \"range\": " +
           (range ? "{\"first\": " + JsonText(range->first) +
                        ", \"last\": " + JsonText(range->last) + "}"
                  : "null") +
           ",\n    \"exclusions\": " + JsonTable(scope.exclusions, "\n      ") +
           ",\n    \"options\": " +
           JsonTable(scope.options, "\n      ",
                     [](auto number) { return std::to_string(number); }) +
           ",\n    \"reservations\": " + JsonTable(scope.reservations, "\n      ") + "}";
}

void Require(bool isFine, const std::string& otherwise) {
    if (!isFine)
        throw std::runtime_error(otherwise);
}

DWORD ReadAddress(const std::wstring& text) {
    const auto address = ParseAddress(text);
    Require(address.has_value(), "not an address");
    return *address;
}

std::wstring ReadText(const json::value& value) {
    Require(value.is_string(), "not a text");
    return FromUtf8(value.get_string());
}

template <class Number>
Number ReadNumber(const json::value& value) {
    json::error_code error;
    const Number number = value.to_number<Number>(error);
    Require(!error, "not a number, or too big");
    return number;
}

/// An object of the snapshot. A member that is missing has a default; a failure names the member.
class Members {
public:
    explicit Members(const json::value& value) : m_object(value.if_object()) {
        Require(m_object != nullptr, "not an object");
    }
    template <class Read>
    void With(json::string_view name, const Read& read) {
        const json::value* const found = m_object->if_contains(name);
        try {
            if (found)
                read(*found);
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(std::string(name) + ": " + error.what());
        }
        m_known += found ? 1 : 0;
    }
    template <class Read>
    void ForEach(const Read& read) {
        for (const auto& member : *m_object)
            With(
                member.key(), [&](auto& value) { read(FromUtf8(member.key()), value); });
    }
    lab::Text Text(const char* name) {
        lab::Text text;
        With(name, [&](auto& value) { text = value.is_null() ? text : ReadText(value); });
        return text;
    }
    DWORD Address(const char* name, DWORD otherwise = 0) {
        With(name, [&](auto& value) { otherwise = ReadAddress(ReadText(value)); });
        return otherwise;
    }
    template <class Type>
    Type Number(const char* name, Type otherwise) {
        With(name, [&](auto& value) { otherwise = ReadNumber<Type>(value); });
        return otherwise;
    }
    /// Pairs of digits; the dashes may be left out.
    Identifier Hardware() {
        std::wstring digits = Text("mac").value_or(L"");
        digits.erase(std::remove(digits.begin(), digits.end(), L'-'), digits.end());
        const Identifier bytes = ParseHexBytes(digits).value_or("");
        Require(!bytes.empty() && bytes.size() <= kMaxIdentifierBytes,
                "mac: not 1 to 255 hexadecimal bytes");
        return bytes;
    }
    /// A name that nobody has asked for is a typing error.
    void RequireNoOther() const { Require(m_known == m_object->size(), "a member is not known"); }

private:
    const json::object* m_object;
    std::size_t m_known = 0;
};

OptionValue ReadOption(const json::value& list) {
    Require(list.is_array(), "not a list");
    OptionValue option;
    for (const json::value& element : list.get_array()) {
        Members members(element);
        members.With(
            "ip",
            [&](auto& value) {
                option.push_back({api::kOptionAddress, ReadAddress(ReadText(value))});
            });
        members.With("dword", [&](auto& value) {
            option.push_back({api::kOptionDword, ReadNumber<DWORD>(value)});
        });
        members.RequireNoOther();
    }
    Require(option.size() == list.get_array().size(), "not one of ip and dword");
    return option;
}

/// All of a scope but its reservations.
Scope ReadScope(Members& members) {
    Scope scope{members.Address("mask"),
                members.Text("name"),
                members.Text("comment"),
                members.Number<DWORD>("state", 0),
                members.Text("netBiosName"),
                members.Text("hostName"),
                {},
                {},
                {},
                {}};
    members.With(
        "range",
        [&](auto& value) {
            if (value.is_null())
                return;
            Members range(value);
            scope.range = {range.Address("first"), range.Address("last")};
            range.RequireNoOther();
        });
    members.With(
        "exclusions",
        [&](auto& table) {
            Members(table).ForEach([&](const std::wstring& first, auto& last) {
                scope.exclusions[ReadAddress(first)] = ReadAddress(ReadText(last));
            });
        });
    members.With("options", [&](auto& table) {
        Members(table).ForEach([&](const std::wstring& name, auto& list) {
            const auto number = ParseNumber(name, 255);
            Require(number.has_value(), "not an option's number");
            scope.options[static_cast<DWORD>(*number)] = ReadOption(list);
        });
    });
    return scope;
}

void PutScope(DWORD id, const json::value& value, ServerState& state) {
    Members members(value);
    const Scope scope = ReadScope(members);
    Require((id & scope.mask) == id && id != 0, "an id with host bits, or no mask");
    Require(!state.OverlapsScope(id, scope.mask), "overlaps another scope");
    Require(!scope.range || IsInScope(id, scope, *scope.range), "a range backwards or outside");
    const DWORD* lastBefore = nullptr;
    for (const auto& [first, last] : scope.exclusions) {
        Require(IsInScope(id, scope, {first, last}) && (!lastBefore || *lastBefore < first),
                "an exclusion backwards, outside or over another one");
        lastBefore = &last;
    }
    state.ChangeScope(id) = scope;
    members.With("reservations", [&](auto& table) {
        Members(table).ForEach([&](const std::wstring& name, auto& reserved) {
            const DWORD address = ReadAddress(name);
            Members its(reserved);
            const Reservation reservation{its.Hardware(), its.Number("types", api::kTypeBoth)};
            its.RequireNoOther();
            Require(IsInSubnet(id, scope.mask, address), "a reservation outside");
            Require(!state.ReservedAddress(id, reservation.hardware), "its mac is reserved twice");
            state.PutReservation(id, address, reservation);
        });
    });
    members.RequireNoOther();
}

void PutClient(DWORD address, const json::value& value, ServerState& state) {
    Members members(value);
    Client client{members.Hardware(),
                  members.Text("name"),
                  members.Text("comment"),
                  members.Number<ULONGLONG>("expires", 0),
                  members.Number("type", api::kTypeNone),
                  members.Text("ownerName"),
                  members.Address("ownerAddress", 0xFFFFFFFF)};
    members.RequireNoOther();
    const auto* const scope = state.ScopeOf(address);
    Require(scope, "in no scope");
    Require(!state.AddressOfClient(UniqueId(scope->first, client.hardware)),
            "its mac has another record in the scope");
    state.PutClient(address, std::move(client));
}

void PutServer(const json::value& value, ServerState& state) {
    Members members(value);
    members.With("addresses", [&](auto& list) {
        Require(list.is_array(), "not a list");
        for (const json::value& address : list.get_array())
            state.addresses.push_back(ReadText(address));
    });
    members.RequireNoOther();
}

}  // namespace

std::string SnapshotText(const ServerState& state) {
    std::string addresses;
    for (const std::wstring& address : state.addresses)
        addresses += (addresses.empty() ? "" : ", ") + JsonText(Text(address));
    return "{" + (addresses.empty() ? "" : "\"server\": {\"addresses\": [" + addresses + "]},\n ") +
           "\"scopes\": " + JsonTable(state.Scopes(), "\n  ") +
           ",\n \"clients\": " + JsonTable(state.Clients(), "\n  ") + "}\n";
}

void ReadSnapshot(std::string_view text, ServerState& state) {
    json::error_code error;
    json::monotonic_resource memory;
    const json::value value = json::parse(text, error, &memory);
    Require(!error, "no JSON: " + error.message());
    Members members(value);
    members.With(
        "server", [&](auto& server) { PutServer(server, state); });
    members.With(
        "scopes",
        [&](auto& table) {
            Members(table).ForEach([&](const std::wstring& id, auto& scope) {
                PutScope(ReadAddress(id), scope, state);
            });
        });
    members.With("clients", [&](auto& table) {
        Members(table).ForEach([&](const std::wstring& address, auto& client) {
            PutClient(ReadAddress(address), client, state);
        });
    });
    members.RequireNoOther();
}

}  // namespace lab
