#include "lab/netsh/NetshCommand.h"

#include <cwchar>

#include "lab/journal/Text.h"

namespace lab {
namespace {

constexpr std::size_t kMaxMacDigits = 510;

bool Is(const std::wstring& word, const wchar_t* keyword) {
    return ::_wcsicmp(word.c_str(), keyword) == 0;
}

/// Reads words one after another. IsSpoilt() is true after a wrong or missing word.
class WordReader {
public:
    explicit WordReader(const std::vector<std::wstring>& words) : m_words(words) {}

    bool IsSpoilt() const { return !m_isFine || m_next < m_words.size(); }
    bool HasNext() const { return m_isFine && m_next < m_words.size(); }

    std::wstring Next() { return Value(Optional()); }
    Text Optional() { return m_next < m_words.size() ? Text(m_words[m_next++]) : std::nullopt; }
    DWORD Address() { return Value(ParseAddress(Next())); }
    DWORD Number() { return static_cast<DWORD>(Value(ParseNumber(Next(), 0xFFFFFFFF))); }
    Identifier Mac() {
        const std::wstring digits = Next();
        const bool isPossible = !digits.empty() && digits.size() <= kMaxMacDigits;
        return Value(isPossible ? ParseHexBytes(digits) : std::nullopt);
    }
    AddressRange Range() {
        const DWORD first = Address();
        return {first, Address()};
    }
    /// Returns the number of the next keyword, or `otherwise` if there is no next word.
    DWORD Keyword(std::initializer_list<std::pair<const wchar_t*, DWORD>> keywords,
                  std::optional<DWORD> otherwise = std::nullopt) {
        const Text word = Optional();
        for (const auto& [keyword, number] : keywords)
            if (word && Is(*word, keyword))
                return number;
        return Value(word ? std::nullopt : otherwise);
    }

private:
    template <class Type>
    Type Value(const std::optional<Type>& value) {
        m_isFine = m_isFine && value;
        return value.value_or(Type());
    }

    const std::vector<std::wstring>& m_words;
    std::size_t m_next = 0;
    bool m_isFine = true;
};

using Code = std::optional<DWORD>;  // nullopt: wrong arguments

Code AddScope(WordReader& words, DWORD, ServerRules& rules) {
    const DWORD id = words.Address();
    Scope scope;
    scope.mask = words.Address();
    scope.name = words.Next();
    scope.comment = words.Optional().value_or(L"");
    return words.IsSpoilt() ? std::nullopt : Code(rules.CreateScope(id, std::move(scope)));
}

Code AddRange(WordReader& words, DWORD scope, ServerRules& rules) {
    const AddressRange range = words.Range();
    return words.IsSpoilt() ? std::nullopt : Code(rules.AddRange(scope, range));
}

Code AddExclusion(WordReader& words, DWORD scope, ServerRules& rules) {
    const AddressRange range = words.Range();
    return words.IsSpoilt() ? std::nullopt : Code(rules.AddExclusion(scope, range));
}

Code SetOption(WordReader& words, DWORD scope, ServerRules& rules) {
    const DWORD option = words.Number();
    const DWORD kind =
        words.Keyword({{L"DWORD", api::kOptionDword}, {L"IPADDRESS", api::kOptionAddress}});
    OptionValue values;
    do {
        values.push_back({kind, kind == api::kOptionAddress ? words.Address() : words.Number()});
    } while (words.HasNext());
    return words.IsSpoilt() ? std::nullopt : Code(rules.SetOption(scope, option, values));
}

Code AddReservation(WordReader& words, DWORD scope, ServerRules& rules) {
    const DWORD address = words.Address();
    Reservation reservation{words.Mac()};
    const Text name = words.Optional();
    const Text comment = words.Optional();
    reservation.allowedTypes = static_cast<BYTE>(words.Keyword(
        {{L"DHCP", api::kTypeDhcp}, {L"BOOTP", api::kTypeBootp}, {L"BOTH", api::kTypeBoth}},
        api::kTypeBoth));
    if (words.IsSpoilt())
        return std::nullopt;
    const DWORD code = rules.AddReservation(scope, address, reservation);
    // A reservation has no texts of its own: they go to its client record.
    return code || !name ? code : rules.SetClientTexts(address, name, comment);
}

Code DeleteReservation(WordReader& words, DWORD scope, ServerRules& rules) {
    const DWORD address = words.Address();
    const Identifier hardware = words.Mac();
    return words.IsSpoilt() ? std::nullopt
                            : Code(rules.RemoveReservation(scope, address, hardware));
}

constexpr struct {
    DWORD code;
    const char* text;
} kErrorTexts[] = {
    {ERROR_SUCCESS, "Command completed successfully."},
    {ERROR_ACCESS_DENIED, "Access is denied."},
    {kSubnetNotPresent, "The specified subnet does not exist on the server."},
    {kNotReservedClient, "The specified client is not a reserved client."},
    {kReservationExists,
     "The specified IP address or hardware address is being used by another client."},
    {kRangeExists, "The specified address range already exists."},
    {kInvalidRange, "The specified range overlaps with another one or is not valid."},
};

struct NetshVerb {
    const wchar_t* first;
    const wchar_t* second;
    bool isInScope;
    Code (*run)(WordReader& words, DWORD scope, ServerRules& rules);
    const char* usage;
};

constexpr NetshVerb kVerbs[] = {
    {L"add", L"scope", false, AddScope, "ScopeAddress SubnetMask ScopeName [ScopeComment]"},
    {L"add", L"iprange", true, AddRange, "StartIP EndIP [DHCP | BOOTP | BOTH] [MaxBootpClients]"},
    {L"add", L"excluderange", true, AddExclusion, "StartIP EndIP"},
    {L"set", L"optionvalue", true, SetOption, "OptionCode DWORD | IPADDRESS | ... Value ..."},
    {L"add", L"reservedip", true, AddReservation,
     "ReservedIP MAC [ClientName] [ClientComment] [DHCP | BOOTP | BOTH]"},
    {L"delete", L"reservedip", true, DeleteReservation, "ReservedIP MAC"},
};

NetshAnswer RunVerb(const NetshVerb& verb, const std::wstring& server, const std::wstring& scope,
                    const std::vector<std::wstring>& arguments, ServerState& state) {
    if (!state.IsReachedBy(server))
        return AnswerTo(RPC_S_SERVER_UNAVAILABLE, server);
    const auto scopeId = ParseAddress(scope);
    if (verb.isInScope && (!scopeId || !state.FindScope(*scopeId)))
        return {"The command needs a valid Scope IP Address.", "no scope"};
    const std::string context = verb.isInScope ? "\nChanged the current scope context to " +
                                                     Dotted(*scopeId) + " scope.\n\n"
                                               : "";
    WordReader words(arguments);
    ServerRules rules(state);
    const auto code = verb.run(words, scopeId.value_or(0), rules);
    if (!code)
        return {
            context + "Usage: " + ToUtf8(verb.first) + " " + ToUtf8(verb.second) + " " + verb.usage,
            "usage"};
    const NetshAnswer answer = AnswerTo(*code, server);
    return {context + answer.text, answer.result};
}

}  // namespace

std::optional<NetshCommand> ParseNetsh(const std::vector<std::wstring>& words) {
    const auto word = [&words](std::size_t at) { return at < words.size() ? words[at] : L""; };
    if (!Is(word(0), L"dhcp") || !Is(word(1), L"server"))
        return std::nullopt;
    std::size_t next = 2;
    std::wstring server = L"127.0.0.1", scope;
    const bool isName = word(next).rfind(L"\\\\", 0) == 0;
    if (isName || ParseAddress(word(next)))
        server = word(next++).substr(isName ? 2 : 0);
    const bool isInScope = Is(word(next), L"scope");
    if (isInScope) {
        scope = word(next + 1);
        next += 2;
    }
    for (const NetshVerb& verb : kVerbs)
        if (verb.isInScope == isInScope && Is(word(next), verb.first) &&
            Is(word(next + 1), verb.second)) {
            const std::vector<std::wstring> arguments(
                words.begin() + static_cast<std::ptrdiff_t>(next + 2), words.end());
            return NetshCommand{server, [=, &verb](ServerState& state) {
                                    return RunVerb(verb, server, scope, arguments, state);
                                }};
        }
    return std::nullopt;
}

NetshAnswer AnswerTo(DWORD code, const std::wstring& server) {
    std::string text = "The server answered with error " + std::to_string(code) + ".";
    for (const auto& known : kErrorTexts)
        if (known.code == code)
            text = known.text;
    if (code >= 1700 && code <= 1999)  // RPC errors
        text = "Unable to determine the DHCP Server version for the Server " + ToUtf8(server) +
               ".\nServer may not function properly.";
    return {text, std::to_string(code)};
}

}  // namespace lab
