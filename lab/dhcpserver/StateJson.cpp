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

/// One member per line.
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

/// A value of the snapshot and its place. A missing value reads as its default.
class Node {
public:
    Node(const json::value* value, std::string place, std::string key = "")
        : m_value(value), m_place(std::move(place)), m_key(std::move(key)) {}

    void Require(bool isFine, const char* otherwise) const {
        if (!isFine)
            throw std::runtime_error(m_place + otherwise);
    }
    bool IsGiven() const { return m_value && !m_value->is_null(); }

    Node operator[](const char* name) const {
        const json::value* const found = Object().if_contains(name);
        m_known += found ? 1 : 0;
        return {found, m_place + name + ": "};
    }
    /// Fails if a member was not read: its name must be a typing error.
    void RequireNoOther() const { Require(m_known == Object().size(), "a member is not known"); }
    std::vector<Node> Entries() const {
        std::vector<Node> entries;
        if (m_value)
            for (const auto& [key, value] : Object())
                entries.emplace_back(&value, m_place + std::string(key) + ": ", key);
        return entries;
    }
    std::vector<Node> Elements() const {
        std::vector<Node> elements;
        Require(!m_value || m_value->is_array(), "not a list");
        for (std::size_t i = 0; m_value && i < m_value->get_array().size(); ++i)
            elements.emplace_back(&m_value->get_array()[i], m_place);
        return elements;
    }

    lab::Text Text() const {
        Require(!IsGiven() || m_value->is_string(), "not a text");
        return IsGiven() ? lab::Text(FromUtf8(m_value->get_string())) : std::nullopt;
    }
    DWORD Address(DWORD otherwise = 0) const {
        return m_value ? ToAddress(Text().value_or(L"")) : otherwise;
    }
    DWORD KeyAsAddress() const { return ToAddress(FromUtf8(m_key)); }
    DWORD KeyAsOption() const {
        const auto number = ParseNumber(FromUtf8(m_key), 255);
        Require(number.has_value(), "not an option's number");
        return static_cast<DWORD>(*number);
    }
    template <class Type>
    Type Number(Type otherwise) const {
        json::error_code error;
        const Type number = m_value ? m_value->to_number<Type>(error) : otherwise;
        Require(!error, "not a number, or too big");
        return number;
    }
    /// Reads pairs of hexadecimal digits; dashes are optional.
    Identifier Hardware() const {
        std::wstring digits = Text().value_or(L"");
        digits.erase(std::remove(digits.begin(), digits.end(), L'-'), digits.end());
        const Identifier bytes = ParseHexBytes(digits).value_or("");
        Require(!bytes.empty() && bytes.size() <= kMaxIdentifierBytes,
                "not 1 to 255 hexadecimal bytes");
        return bytes;
    }

private:
    const json::object& Object() const {
        Require(m_value && m_value->is_object(), "not an object");
        return m_value->get_object();
    }
    DWORD ToAddress(const std::wstring& text) const {
        const auto address = ParseAddress(text);
        Require(address.has_value(), "not an address");
        return *address;
    }

    const json::value* m_value;
    std::string m_place;
    std::string m_key;
    mutable std::size_t m_known = 0;
};

OptionElement ReadElement(const Node& node) {
    const Node address = node["ip"], number = node["dword"];
    node.RequireNoOther();
    node.Require(address.IsGiven() != number.IsGiven(), "not one of ip and dword");
    if (address.IsGiven())
        return {api::kOptionAddress, address.Address()};
    return {api::kOptionDword, number.Number<DWORD>(0)};
}

void PutScope(const Node& node, ServerState& state) {
    const DWORD id = node.KeyAsAddress();
    Scope scope;
    scope.mask = node["mask"].Address();
    scope.name = node["name"].Text();
    scope.comment = node["comment"].Text();
    scope.state = node["state"].Number<DWORD>(0);
    scope.netBiosName = node["netBiosName"].Text();
    scope.hostName = node["hostName"].Text();
    node.Require((id & scope.mask) == id && id != 0, "an id with host bits, or no mask");
    node.Require(!state.OverlapsScope(id, scope.mask), "overlaps another scope");
    if (const Node range = node["range"]; range.IsGiven()) {
        scope.range = {range["first"].Address(), range["last"].Address()};
        range.RequireNoOther();
        range.Require(IsInScope(id, scope, *scope.range), "backwards or outside");
    }
    for (const Node& exclusion : node["exclusions"].Entries()) {
        const AddressRange range{exclusion.KeyAsAddress(), exclusion.Address()};
        const auto after = scope.exclusions.upper_bound(range.last);
        exclusion.Require(IsInScope(id, scope, range) && (after == scope.exclusions.begin() ||
                                                          std::prev(after)->second < range.first),
                          "backwards, outside or over another one");
        scope.exclusions[range.first] = range.last;
    }
    for (const Node& option : node["options"].Entries()) {
        OptionValue& value = scope.options[option.KeyAsOption()];
        for (const Node& element : option.Elements())
            value.push_back(ReadElement(element));
    }
    state.ChangeScope(id) = scope;
    for (const Node& reserved : node["reservations"].Entries()) {
        const DWORD address = reserved.KeyAsAddress();
        const Reservation reservation{reserved["mac"].Hardware(),
                                      reserved["types"].Number(api::kTypeBoth)};
        reserved.RequireNoOther();
        reserved.Require(IsInSubnet(id, scope.mask, address), "outside of the scope");
        reserved.Require(!state.ReservedAddress(id, reservation.hardware), "a mac of another one");
        state.PutReservation(id, address, reservation);
    }
    node.RequireNoOther();
}

void PutClient(const Node& node, ServerState& state) {
    const DWORD address = node.KeyAsAddress();
    Client client;
    client.hardware = node["mac"].Hardware();
    client.name = node["name"].Text();
    client.comment = node["comment"].Text();
    client.expires = node["expires"].Number<ULONGLONG>(0);
    client.type = node["type"].Number(api::kTypeNone);
    client.ownerName = node["ownerName"].Text();
    client.ownerAddress = node["ownerAddress"].Address(0xFFFFFFFF);
    node.RequireNoOther();
    const auto* const scope = state.ScopeOf(address);
    node.Require(scope, "in no scope");
    node.Require(!state.AddressOfClient(UniqueId(scope->first, client.hardware)),
                 "its mac has another record in the scope");
    state.PutClient(address, std::move(client));
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
    const Node all(&value, "");
    all.Require(!error, ("no JSON: " + error.message()).c_str());
    if (const Node server = all["server"]; server.IsGiven()) {
        for (const Node& address : server["addresses"].Elements())
            state.addresses.push_back(address.Text().value_or(L""));
        server.RequireNoOther();
    }
    for (const Node& scope : all["scopes"].Entries())
        PutScope(scope, state);
    for (const Node& client : all["clients"].Entries())
        PutClient(client, state);
    all.RequireNoOther();
}

}  // namespace lab
