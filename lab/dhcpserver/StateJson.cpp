#include "lab/dhcpserver/StateJson.h"

#include <algorithm>
#include <boost/json.hpp>
#include <stdexcept>
#include <tuple>

#include "lab/journal/Text.h"

namespace lab {
namespace {

namespace json = boost::json;

constexpr std::size_t kLineColumns = 240;  // room for a client

void Require(bool isFine, const std::string& otherwise) {
    if (!isFine)
        throw std::runtime_error(otherwise);
}

/// Runs the work; a failure says in which place it was.
template <class Work>
void In(std::string_view place, const Work& work) {
    try {
        work();
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(std::string(place) + ": " + error.what());
    }
}

// Forms: how one kind of value is written as JSON and read from it.

struct TextForm {
    static json::value Write(const std::wstring& text) { return json::string(ToUtf8(text)); }
    static std::wstring Read(const json::value& value) {
        Require(value.is_string(), "not a text");
        return FromUtf8(value.get_string());
    }
};

struct AddressForm {
    static json::value Write(DWORD address) { return json::string(Dotted(address)); }
    static DWORD Read(const json::value& value) {
        const auto address = ParseAddress(TextForm::Read(value));
        Require(address.has_value(), "not an address");
        return *address;
    }
};

template <class Number>
struct NumberForm {
    static json::value Write(Number number) { return number; }
    static Number Read(const json::value& value) {
        json::error_code error;
        const Number number = value.to_number<Number>(error);
        Require(!error, "not a number, or too big");
        return number;
    }
};

/// Pairs of digits; a dash may be left out when it is written by hand.
struct HardwareForm {
    static json::value Write(const Identifier& bytes) { return json::string(HexBytes(bytes, "-")); }
    static Identifier Read(const json::value& value) {
        std::wstring digits = TextForm::Read(value);
        digits.erase(std::remove(digits.begin(), digits.end(), L'-'), digits.end());
        const auto bytes = ParseHexBytes(digits);
        Require(bytes && !bytes->empty() && bytes->size() <= kMaxIdentifierBytes,
                "not 1 to 255 hexadecimal bytes");
        return *bytes;
    }
};

struct OptionNumberForm {
    static json::value Write(DWORD id) { return json::string(std::to_string(id)); }
    static DWORD Read(const json::value& value) {
        const auto id = ParseNumber(TextForm::Read(value), 255);
        Require(id.has_value(), "not an option's number");
        return static_cast<DWORD>(*id);
    }
};

/// {"ip": "10.1.0.1"} or {"dword": 691200}
struct OptionElementForm {
    static json::value Write(const OptionElement& element) {
        if (element.type == api::kOptionAddress)
            return json::object{{"ip", AddressForm::Write(element.number)}};
        return json::object{{"dword", element.number}};
    }
    static OptionElement Read(const json::value& value) {
        const json::object* const object = value.if_object();
        Require(object && object->size() == 1, "not one element");
        if (const json::value* const address = object->if_contains("ip"))
            return {api::kOptionAddress, AddressForm::Read(*address)};
        Require(object->contains("dword"), "neither ip nor dword");
        return {api::kOptionDword, NumberForm<DWORD>::Read(object->begin()->value())};
    }
};

template <class Form, class Value>
struct ListForm {
    static json::value Write(const std::vector<Value>& list) {
        json::array all;
        for (const Value& value : list)
            all.push_back(Form::Write(value));
        return all;
    }
    static std::vector<Value> Read(const json::value& value) {
        Require(value.is_array(), "not a list");
        std::vector<Value> list;
        for (const json::value& element : value.get_array())
            list.push_back(Form::Read(element));
        return list;
    }
};

/// Null for none.
template <class Form, class Value>
struct OptionalForm {
    static json::value Write(const std::optional<Value>& value) {
        return value ? Form::Write(*value) : json::value(nullptr);
    }
    static std::optional<Value> Read(const json::value& value) {
        return value.is_null() ? std::nullopt : std::optional<Value>(Form::Read(value));
    }
};
using NullableTextForm = OptionalForm<TextForm, std::wstring>;

/// Left out for none.
struct Rare {};
template <class Form, class Value>
struct RareForm : OptionalForm<Form, Value>, Rare {};

template <class KeyForm, class Form, class Value>
struct TableForm {
    static json::value Write(const std::map<DWORD, Value>& table) {
        json::object all;
        for (const auto& [key, value] : table)
            all[KeyForm::Write(key).get_string()] = Form::Write(value);
        return all;
    }
    static std::map<DWORD, Value> Read(const json::value& value) {
        Require(value.is_object(), "not an object");
        std::map<DWORD, Value> table;
        for (const auto& member : value.get_object()) {
            In(
                member.key(),
                [&table, &member] {
                    table.emplace(KeyForm::Read(json::value(member.key())),
                                  Form::Read(member.value()));
                });
        }
        return table;
    }
};

template <class TheForm, class Record, class Field>
struct Member {
    using Form = TheForm;
    const char* name;
    Field Record::*field;
};
template <class Form, class Record, class Field>
constexpr Member<Form, Record, Field> As(const char* name, Field Record::*field) {
    return {name, field};
}

/// The members that `kMembers` lists. One that is missing keeps its value, one that no list has is
/// a typing error.
template <class Record, const auto& kMembers>
struct RecordForm {
    static json::value Write(const Record& record) {
        json::object object;
        const auto write = [&object, &record](const auto& member) {
            using Form = typename std::decay_t<decltype(member)>::Form;
            json::value value = Form::Write(record.*member.field);
            if (!std::is_base_of_v<Rare, Form> || !value.is_null())
                object[member.name] = std::move(value);
        };
        std::apply([&write](const auto&... member) { (write(member), ...); }, kMembers);
        return object;
    }
    static Record Read(const json::value& value) {
        Require(value.is_object(), "not an object");
        Record record{};
        std::size_t known = 0;
        const auto read = [&](const auto& member) {
            using Form = typename std::decay_t<decltype(member)>::Form;
            if (const json::value* const found = value.get_object().if_contains(member.name)) {
                In(
                    member.name, [&] { record.*member.field = Form::Read(*found); });
                ++known;
            }
        };
        std::apply([&read](const auto&... member) { (read(member), ...); }, kMembers);
        Require(known == value.get_object().size(), "a member is not known");
        return record;
    }
};

constexpr std::tuple kRangeMembers{As<AddressForm>("first", &AddressRange::first),
                                   As<AddressForm>("last", &AddressRange::last)};
using RangeForm = RecordForm<AddressRange, kRangeMembers>;

constexpr std::tuple kReservationMembers{As<HardwareForm>("mac", &Reservation::hardware),
                                         As<NumberForm<BYTE>>("types", &Reservation::allowedTypes)};
using ReservationForm = RecordForm<Reservation, kReservationMembers>;

using OptionForm = ListForm<OptionElementForm, OptionElement>;
constexpr std::tuple kScopeMembers{
    As<AddressForm>("mask", &Scope::mask),
    As<NullableTextForm>("name", &Scope::name),
    As<NullableTextForm>("comment", &Scope::comment),
    As<NumberForm<DWORD>>("state", &Scope::state),
    As<RareForm<TextForm, std::wstring>>("netBiosName", &Scope::netBiosName),
    As<RareForm<TextForm, std::wstring>>("hostName", &Scope::hostName),
    As<OptionalForm<RangeForm, AddressRange>>("range", &Scope::range),
    As<TableForm<AddressForm, AddressForm, DWORD>>("exclusions", &Scope::exclusions),
    As<TableForm<OptionNumberForm, OptionForm, OptionValue>>("options", &Scope::options),
    As<TableForm<AddressForm, ReservationForm, Reservation>>("reservations", &Scope::reservations)};
using ScopeForm = RecordForm<Scope, kScopeMembers>;

constexpr std::tuple kClientMembers{As<HardwareForm>("mac", &Client::hardware),
                                    As<NullableTextForm>("name", &Client::name),
                                    As<NullableTextForm>("comment", &Client::comment),
                                    As<NumberForm<ULONGLONG>>("expires", &Client::expires),
                                    As<NumberForm<BYTE>>("type", &Client::type),
                                    As<NullableTextForm>("ownerName", &Client::ownerName),
                                    As<AddressForm>("ownerAddress", &Client::ownerAddress)};
using ClientForm = RecordForm<Client, kClientMembers>;

struct KnownServer {
    std::vector<std::wstring> addresses;
};
constexpr std::tuple kServerMembers{
    As<ListForm<TextForm, std::wstring>>("addresses", &KnownServer::addresses)};

struct Snapshot {
    std::optional<KnownServer> server;
    std::map<DWORD, Scope> scopes;
    std::map<DWORD, Client> clients;
};
constexpr std::tuple kSnapshotMembers{
    As<RareForm<RecordForm<KnownServer, kServerMembers>, KnownServer>>("server", &Snapshot::server),
    As<TableForm<AddressForm, ScopeForm, Scope>>("scopes", &Snapshot::scopes),
    As<TableForm<AddressForm, ClientForm, Client>>("clients", &Snapshot::clients)};
using SnapshotForm = RecordForm<Snapshot, kSnapshotMembers>;

/// One member a line, unless all of the object fits on one.
void Print(std::string& out, const json::value& value, std::size_t indent) {
    const std::string line = json::serialize(value);
    if (!value.is_object() || line.size() + indent <= kLineColumns) {
        out += line;
        return;
    }
    const char* separator = "{\n";
    for (const auto& member : value.get_object()) {
        out += separator + std::string(indent + 2, ' ') + json::serialize(member.key()) + ": ";
        Print(out, member.value(), indent + 2);
        separator = ",\n";
    }
    out += '\n' + std::string(indent, ' ') + '}';
}

void CheckScope(DWORD id, const Scope& scope, const ServerState& state) {
    const auto isInside = [&](DWORD first, DWORD last) {
        return first <= last && IsInSubnet(id, scope.mask, first) &&
               IsInSubnet(id, scope.mask, last);
    };
    Require((id & scope.mask) == id && id != 0, "an id with host bits, or no mask");
    Require(!state.OverlapsScope(id, scope.mask), "overlaps another scope");
    Require(!scope.range || isInside(scope.range->first, scope.range->last),
            "a range backwards or outside");
    const DWORD* lastBefore = nullptr;
    for (const auto& [first, last] : scope.exclusions) {
        Require(isInside(first, last) && (!lastBefore || *lastBefore < first),
                "an exclusion backwards, outside or over another one");
        lastBefore = &last;
    }
}

}  // namespace

std::string SnapshotText(const ServerState& state) {
    Snapshot all{std::nullopt, state.Scopes(), state.Clients()};
    if (!state.addresses.empty())
        all.server = KnownServer{state.addresses};
    std::string out;
    Print(out, SnapshotForm::Write(all), 0);
    return out + "\n";
}

void ReadSnapshot(std::string_view text, ServerState& state) {
    json::error_code error;
    json::monotonic_resource memory;
    const json::value value = json::parse(text, error, &memory);
    Require(!error, "no JSON: " + error.message());
    Snapshot read = SnapshotForm::Read(value);
    state.addresses = read.server.value_or(KnownServer()).addresses;
    for (auto& [id, scope] : read.scopes) {
        In(
            "scopes: " + Dotted(id),
            [&state, scopeId = id, &whole = scope] {
                CheckScope(scopeId, whole, state);
                const auto reservations = std::move(whole.reservations);
                whole.reservations.clear();
                state.ChangeScope(scopeId) = std::move(whole);
                for (const auto& [address, reservation] : reservations) {
                    Require(IsInSubnet(scopeId, state.FindScope(scopeId)->mask, address),
                            "a reservation outside");
                    Require(!reservation.hardware.empty() &&
                                !state.ReservedAddress(scopeId, reservation.hardware),
                            "a reservation without a mac, or with that of another one");
                    state.PutReservation(scopeId, address, reservation);
                }
            });
    }
    for (auto& [address, client] : read.clients) {
        In(
            "clients: " + Dotted(address),
            [&state, at = address, &record = client] {
                const auto* const scope = state.ScopeOf(at);
                Require(scope && !record.hardware.empty(), "in no scope, or without a mac");
                Require(!state.AddressOfClient(UniqueId(scope->first, record.hardware)),
                        "its mac has another record in the scope");
                state.PutClient(at, std::move(record));
            });
    }
}

}  // namespace lab
