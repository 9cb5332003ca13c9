#include "lab/dhcpserver/StateJson.h"

#include <algorithm>
#include <boost/json.hpp>
#include <functional>
#include <stdexcept>

#include "lab/dhcpserver/AddressText.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

namespace json = boost::json;

constexpr std::size_t kLineColumns = 100;
constexpr const char* kOptionTypes[] = {"byte",   "word",   "dword",        "dwordDword", "ip",
                                        "string", "binary", "encapsulated", "ipv6"};

// ---- writing ----

json::value TextJson(const Text& text) {
    return text ? json::value(ToUtf8(*text)) : json::value(nullptr);
}

json::value OptionJson(const OptionValue& value) {
    json::array elements;
    for (const OptionElement& element : value) {
        json::value content;
        switch (element.type) {
            case DhcpIpAddressOption:
                content = json::string(Dotted(static_cast<DWORD>(element.number)));
                break;
            case DhcpStringDataOption:
            case kIpv6Option:
                content = json::string(ToUtf8(element.text));
                break;
            case kBinaryOption:
            case kEncapsulatedOption:
                content = json::string(HexBytes(element.binary, "-"));
                break;
            default:
                content = element.number;
        }
        elements.push_back(json::object{{kOptionTypes[element.type], content}});
    }
    return elements;
}

json::value OptionsJson(const Options& options) {
    json::object all;
    for (const auto& [id, value] : options)
        all[std::to_string(id)] = OptionJson(value);
    return all;
}

json::value RangeJson(const std::optional<AddressRange>& range) {
    return range ? json::value{{"first", Dotted(range->first)}, {"last", Dotted(range->last)}}
                 : json::value(nullptr);
}

json::value ReservationJson(const Reservation& reservation) {
    json::object all{{"mac", HexBytes(reservation.hardware, "-")},
                     {"types", reservation.allowedTypes}};
    if (!reservation.options.empty())
        all["options"] = OptionsJson(reservation.options);
    return all;
}

json::value ClientJson(const Client& client) {
    return {{"mac", HexBytes(std::string_view(client.uniqueId).substr(kUniqueIdPrefixBytes), "-")},
            {"uniqueId", HexBytes(client.uniqueId, "")},
            {"name", TextJson(client.name)},
            {"comment", TextJson(client.comment)},
            {"expires", client.expires},
            {"type", client.type},
            {"ownerName", TextJson(client.ownerName)},
            {"ownerAddress", Dotted(client.ownerAddress)}};
}

json::object ScopeFieldsJson(const Scope& scope) {
    return {{"mask", Dotted(scope.mask)},
            {"name", TextJson(scope.name)},
            {"comment", TextJson(scope.comment)},
            {"state", scope.state}};
}

json::value ScopeJson(const Scope& scope) {
    json::object all = ScopeFieldsJson(scope);
    all["range"] = RangeJson(scope.range);
    json::object exclusions;
    for (const auto& [first, last] : scope.exclusions)
        exclusions[Dotted(first)] = Dotted(last);
    all["exclusions"] = std::move(exclusions);
    json::object reservations;
    for (const auto& [address, reservation] : scope.reservations)
        reservations[Dotted(address)] = ReservationJson(reservation);
    all["reservations"] = std::move(reservations);
    all["options"] = OptionsJson(scope.options);
    return all;
}

std::string DefinitionsText(const std::vector<AddressRange>& definitions) {
    std::string text;
    for (const AddressRange& ids : definitions) {
        text += text.empty() ? "" : ", ";
        text += std::to_string(ids.first);
        text += ids.last == ids.first ? "" : "-" + std::to_string(ids.last);
    }
    return text;
}

/// One member a line, unless all of the object fits on one.
void Print(std::string& out, const json::value& value, std::size_t indent) {
    std::string line = json::serialize(value);
    const json::object* const object = value.if_object();
    if (!object || line.size() + indent <= kLineColumns) {
        out += line;
        return;
    }
    const char* separator = "{\n";
    for (const auto& member : *object) {
        out += separator + std::string(indent + 2, ' ') + json::serialize(member.key()) + ": ";
        Print(out, member.value(), indent + 2);
        separator = ",\n";
    }
    out += '\n' + std::string(indent, ' ') + '}';
}

template <class Map, class ToJson>
void PrintSection(std::string& out, const char* name, const Map& map, bool isOneLineEach,
                  const ToJson& toJson) {
    out += std::string("  \"") + name + "\": {";
    const char* separator = "\n    \"";
    for (const auto& [address, content] : map) {
        out += separator + Dotted(address) + "\": ";
        const json::value value = toJson(content);
        if (isOneLineEach)
            out += json::serialize(value);
        else
            Print(out, value, 4);
        separator = ",\n    \"";
    }
    out += map.empty() ? "}" : "\n  }";
}

json::object& Child(json::object& parent, std::string_view key) {
    json::value& child = parent[key];
    return child.is_object() ? child.get_object() : child.emplace_object();
}

/// What a map holds at a key now; null when the entry is gone.
template <class Map, class ToJson>
json::value Current(const Map& map, DWORD key, const ToJson& toJson) {
    const auto found = map.find(key);
    return found == map.end() ? json::value(nullptr) : json::value(toJson(found->second));
}

// ---- reading ----

[[noreturn]] void Fail(const std::string& place, const std::string& what) {
    throw std::runtime_error(place + ": " + what);
}

std::string StringOf(const json::value& value, const std::string& place) {
    const json::string* const text = value.if_string();
    if (!text)
        Fail(place, "not a text");
    return std::string(text->data(), text->size());
}

Text TextOf(const json::value& value, const std::string& place) {
    return value.is_null() ? std::nullopt : Text(FromUtf8(StringOf(value, place)));
}

DWORD AddressOf(const json::value& value, const std::string& place) {
    const auto address = ParseAddress(FromUtf8(StringOf(value, place)));
    return address ? *address : (Fail(place, "not an address"), 0);
}

ULONGLONG NumberOf(const json::value& value, const std::string& place, ULONGLONG max) {
    json::error_code error;
    const auto number = value.to_number<ULONGLONG>(error);
    if (error || number > max)
        Fail(place, "not a number up to " + std::to_string(max));
    return number;
}

/// Pairs of digits, with or without a dash between them.
Identifier BytesOf(const json::value& value, const std::string& place) {
    std::string text = StringOf(value, place);
    text.erase(std::remove(text.begin(), text.end(), '-'), text.end());
    const auto bytes = ParseHexBytes(FromUtf8(text));
    return bytes ? *bytes : (Fail(place, "not hexadecimal bytes"), "");
}

/// Reads members by name; one that no reader knows is a typing error and fails.
class Members {
public:
    using Reader = std::function<void(const json::value&, const std::string& place)>;

    Members(std::string place, std::initializer_list<std::pair<std::string_view, Reader>> readers)
        : m_place(std::move(place)), m_readers(readers) {}

    void Read(const json::value& value) const {
        const json::object* const object = value.if_object();
        if (!object)
            Fail(m_place, "not an object");
        for (const auto& member : *object) {
            const std::string place = m_place + "/" + std::string(member.key());
            const auto known =
                std::find_if(m_readers.begin(), m_readers.end(), [&member](const auto& reader) {
                    return reader.first == std::string_view(member.key());
                });
            if (known == m_readers.end())
                Fail(place, "unknown");
            known->second(member.value(), place);
        }
    }

private:
    std::string m_place;
    std::vector<std::pair<std::string_view, Reader>> m_readers;
};

/// Reads entries whose names are addresses.
template <class Put>
void ForEachAddress(const json::value& value, const std::string& place, const Put& put) {
    const json::object* const object = value.if_object();
    if (!object)
        Fail(place, "not an object");
    for (const auto& entry : *object) {
        const std::string entryPlace = place + "/" + std::string(entry.key());
        const auto address = ParseAddress(FromUtf8(entry.key()));
        if (!address)
            Fail(entryPlace, "not an address");
        put(static_cast<DWORD>(*address), entry.value(), entryPlace);
    }
}

OptionValue OptionOf(const json::value& value, const std::string& place) {
    OptionValue option;
    const json::array* const elements = value.if_array();
    if (!elements)
        Fail(place, "not a list of elements");
    for (const json::value& content : *elements) {
        const json::object* const object = content.if_object();
        const std::string name = object && object->size() == 1 ? object->begin()->key() : "";
        const auto* const type = std::find(std::begin(kOptionTypes), std::end(kOptionTypes), name);
        if (type == std::end(kOptionTypes))
            Fail(place, "not an element like {\"ip\": \"10.1.0.1\"}");
        OptionElement element{static_cast<DWORD>(type - kOptionTypes), 0, {}, {}};
        const json::value& data = object->begin()->value();
        switch (element.type) {
            case DhcpIpAddressOption:
                element.number = AddressOf(data, place);
                break;
            case DhcpStringDataOption:
            case kIpv6Option:
                element.text = FromUtf8(StringOf(data, place));
                break;
            case kBinaryOption:
            case kEncapsulatedOption:
                element.binary = BytesOf(data, place);
                break;
            default:
                element.number = NumberOf(data, place, ~0ULL);
        }
        option.push_back(std::move(element));
    }
    return option;
}

template <class Put>
void ReadOptions(const json::value& value, const std::string& place, const Put& put) {
    const json::object* const object = value.if_object();
    if (!object)
        Fail(place, "not an object");
    for (const auto& entry : *object) {
        const std::string entryPlace = place + "/" + std::string(entry.key());
        const auto id = ParseNumber(FromUtf8(entry.key()), 255);
        if (!id)
            Fail(entryPlace, "not an option number");
        put(static_cast<DWORD>(*id), entry.value().is_null()
                                         ? std::nullopt
                                         : std::optional(OptionOf(entry.value(), entryPlace)));
    }
}

std::vector<AddressRange> DefinitionsOf(const json::value& value, const std::string& place) {
    std::vector<AddressRange> definitions;
    std::wstring text = FromUtf8(StringOf(value, place));
    text.erase(std::remove(text.begin(), text.end(), L' '), text.end());
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(L',', start), text.size());
        const std::wstring ids = text.substr(start, end - start);
        const std::size_t dash = std::min(ids.find(L'-'), ids.size());
        const auto first = ParseNumber(ids.substr(0, dash), 255);
        const auto last = dash < ids.size() ? ParseNumber(ids.substr(dash + 1), 255) : first;
        if (!first || !last)
            Fail(place, "not a list like \"1-76, 81\"");
        definitions.push_back({static_cast<DWORD>(*first), static_cast<DWORD>(*last)});
        start = end + 1;
    }
    return definitions;
}

void ApplyServer(const json::value& value, const std::string& place, ServerState& state) {
    Members(place, {{"optionDefinitions",
                     [&state](const auto& text, const auto& at) {
                         state.SetOptionDefinitions(DefinitionsOf(text, at));
                     }},
                    {"defaults",
                     [&state](const auto& options, const auto& at) {
                         ReadOptions(
                             options, at,
                             [&state](DWORD id, auto option) {
                                 state.PutDefaultOption(id, std::move(option));
                             });
                     }},
                    {"options",
                     [&state](const auto& options, const auto& at) {
                         ReadOptions(
                             options, at,
                             [&state](DWORD id, auto option) {
                                 state.PutGlobalOption(id, std::move(option));
                             });
                     }}})
        .Read(value);
}

std::optional<AddressRange> RangeOf(const json::value& value, const std::string& place) {
    if (value.is_null())
        return std::nullopt;
    AddressRange range{};
    Members(
        place,
        {{"first", [&](const auto& text, const auto& at) { range.first = AddressOf(text, at); }},
         {"last", [&](const auto& text, const auto& at) { range.last = AddressOf(text, at); }}})
        .Read(value);
    return range;
}

std::optional<Reservation> ReservationOf(const json::value& value, const std::string& place) {
    if (value.is_null())
        return std::nullopt;
    Reservation reservation{{}, CLIENT_TYPE_BOTH, {}};
    Members(place, {{"mac", [&](const auto& text,
                                const auto& at) { reservation.hardware = BytesOf(text, at); }},
                    {"types",
                     [&](const auto& number, const auto& at) {
                         reservation.allowedTypes = static_cast<BYTE>(NumberOf(number, at, 255));
                     }},
                    {"options",
                     [&](const auto& options, const auto& at) {
                         ReadOptions(options, at, [&](DWORD id, auto option) {
                             reservation.options[id] = std::move(option).value_or(OptionValue());
                         });
                     }}})
        .Read(value);
    if (reservation.hardware.empty())
        Fail(place, "without a mac");
    return reservation;
}

void ApplyScope(DWORD id, const json::value& value, const std::string& place, ServerState& state) {
    // A scope's own fields come with its making and never again: what else is known of it, such as
    // from a snapshot that a killed process had already written, stays.
    if (!state.FindScope(id)) {
        const json::object* const object = value.if_object();
        const json::value* const mask = object ? object->if_contains("mask") : nullptr;
        const DWORD bits = mask ? AddressOf(*mask, place) : 0;
        if (!mask || (id & bits) != id || state.OverlapsScope(id, bits))
            Fail(place, "without a mask, with host bits, or on top of another scope");
        const auto text = [&](const char* name) {
            const json::value* const member = object->if_contains(name);
            return member ? TextOf(*member, place) : std::nullopt;
        };
        const json::value* const number = object->if_contains("state");
        const ULONGLONG scopeState = number ? NumberOf(*number, place, 0xFFFFFFFF) : 0;
        state.PutScope(
            id,
            {bits, text("name"), text("comment"), static_cast<DWORD>(scopeState), {}, {}, {}, {}});
    }
    const auto known = [](const json::value&, const std::string&) {};
    Members(place,
            {{"mask", known},
             {"name", known},
             {"comment", known},
             {"state", known},
             {"range",
              [&](const auto& range, const auto& at) { state.PutRange(id, RangeOf(range, at)); }},
             {"exclusions",
              [&](const auto& exclusions, const auto& at) {
                  ForEachAddress(exclusions, at, [&](DWORD first, const auto& last, auto& in) {
                      state.PutExclusion(
                          id, first,
                          last.is_null() ? std::nullopt : std::optional(AddressOf(last, in)));
                  });
              }},
             {"reservations",
              [&](const auto& reservations, const auto& at) {
                  ForEachAddress(reservations, at, [&](DWORD address, const auto& entry, auto& in) {
                      state.PutReservation(id, address, ReservationOf(entry, in));
                  });
              }},
             {"options",
              [&](const auto& options, const auto& at) {
                  ReadOptions(options, at, [&](DWORD option, auto content) {
                      state.PutScopeOption(id, option, std::move(content));
                  });
              }}})
        .Read(value);
}

void ApplyClient(DWORD address, const json::value& value, const std::string& place,
                 ServerState& state) {
    if (value.is_null()) {
        state.PutClient(address, std::nullopt);
        return;
    }
    const auto* const scope = state.ScopeOf(address);
    if (!scope)
        Fail(place, "in no scope");
    Client client{{}, {}, {}, 0, CLIENT_TYPE_NONE, {}, 0xFFFFFFFF};
    Identifier hardware;
    Members(
        place,
        {{"mac", [&](const auto& text, const auto& at) { hardware = BytesOf(text, at); }},
         {"uniqueId",
          [&](const auto& text, const auto& at) { client.uniqueId = BytesOf(text, at); }},
         {"name", [&](const auto& text, const auto& at) { client.name = TextOf(text, at); }},
         {"comment", [&](const auto& text, const auto& at) { client.comment = TextOf(text, at); }},
         {"expires", [&](const auto& number,
                         const auto& at) { client.expires = NumberOf(number, at, ~0ULL); }},
         {"type",
          [&](const auto& number, const auto& at) {
              client.type = static_cast<BYTE>(NumberOf(number, at, 255));
          }},
         {"ownerName",
          [&](const auto& text, const auto& at) { client.ownerName = TextOf(text, at); }},
         {"ownerAddress",
          [&](const auto& text, const auto& at) { client.ownerAddress = AddressOf(text, at); }}})
        .Read(value);
    const Identifier formed = UniqueId(scope->first, hardware);
    if (client.uniqueId.empty() && !hardware.empty())
        client.uniqueId = formed;  // a state written by hand may leave it out
    else if (client.uniqueId.size() <= kUniqueIdPrefixBytes ||
             (!hardware.empty() && client.uniqueId != formed))
        Fail(place, "mac and uniqueId do not belong together");
    state.PutClient(address, std::move(client));
}

}  // namespace

std::string SnapshotText(const ServerState& state) {
    std::string out = "{\n  \"server\": ";
    Print(out,
          {{"optionDefinitions", DefinitionsText(state.OptionDefinitions())},
           {"defaults", OptionsJson(state.DefaultOptions())},
           {"options", OptionsJson(state.GlobalOptions())}},
          2);
    out += ",\n";
    PrintSection(out, "scopes", state.Scopes(), false, ScopeJson);
    out += ",\n";
    PrintSection(out, "clients", state.Clients(), true, ClientJson);
    out += "\n}\n";
    return out;
}

std::string ChangeLine(const ServerState& state) {
    using Kind = ServerState::Touch::Kind;
    json::object line;
    for (const ServerState::Touch& touch : state.Touched()) {
        const auto scope = [&]() -> json::object& {
            return Child(Child(line, "scopes"), Dotted(touch.scope));
        };
        const auto& content = state.Scopes().find(touch.scope);
        switch (touch.kind) {
            case Kind::kScope:
                scope() = ScopeFieldsJson(content->second);
                break;
            case Kind::kRange:
                scope()["range"] = RangeJson(content->second.range);
                break;
            case Kind::kExclusion:
                Child(scope(), "exclusions")[Dotted(touch.key)] =
                    Current(content->second.exclusions, touch.key, Dotted);
                break;
            case Kind::kReservation:
                Child(scope(), "reservations")[Dotted(touch.key)] =
                    Current(content->second.reservations, touch.key, ReservationJson);
                break;
            case Kind::kScopeOption:
                Child(scope(), "options")[std::to_string(touch.key)] =
                    Current(content->second.options, touch.key, OptionJson);
                break;
            case Kind::kDefaultOption:
                Child(Child(line, "server"), "defaults")[std::to_string(touch.key)] =
                    Current(state.DefaultOptions(), touch.key, OptionJson);
                break;
            case Kind::kGlobalOption:
                Child(Child(line, "server"), "options")[std::to_string(touch.key)] =
                    Current(state.GlobalOptions(), touch.key, OptionJson);
                break;
            case Kind::kClient:
                Child(line, "clients")[Dotted(touch.key)] =
                    Current(state.Clients(), touch.key, ClientJson);
                break;
        }
    }
    return json::serialize(line);
}

void ApplyJson(std::string_view text, ServerState& state) {
    json::error_code error;
    json::monotonic_resource memory;
    const json::value root = json::parse(text, error, &memory);
    if (error)
        throw std::runtime_error("no JSON: " + error.message());
    const auto known = [](const json::value&, const std::string&) {};
    Members("state", {{"server", known}, {"scopes", known}, {"clients", known}}).Read(root);
    // Clients belong into scopes, wherever a state written by hand puts them.
    const json::object& all = root.get_object();
    if (const json::value* const server = all.if_contains("server"))
        ApplyServer(*server, "server", state);
    if (const json::value* const scopes = all.if_contains("scopes")) {
        ForEachAddress(
            *scopes, "scopes",
            [&](DWORD id, const auto& scope, auto& place) { ApplyScope(id, scope, place, state); });
    }
    if (const json::value* const clients = all.if_contains("clients")) {
        ForEachAddress(
            *clients, "clients",
            [&](DWORD address, const auto& client, auto& place) {
                ApplyClient(address, client, place, state);
            });
    }
}

}  // namespace lab
