#include "lab/netsh/NetshCommand.h"

#include <cwchar>

#include "lab/dhcpserver/AddressText.h"
#include "lab/journal/Journal.h"

namespace lab {
namespace {

constexpr std::size_t kMaxMacDigits = 510;

constexpr char kAddScopeUsage[] =
    "Usage: add scope ScopeAddress SubnetMask ScopeName [ScopeComment]\n"
    "  Adds a scope. A name or comment with blanks needs quotation marks.";
constexpr char kAddRangeUsage[] =
    "Usage: add iprange StartIP EndIP [DHCP | BOOTP | BOTH] [MaxBootpClients]\n"
    "  Adds a range of addresses to the scope.";
constexpr char kAddExclusionUsage[] =
    "Usage: add excluderange StartIP EndIP\n"
    "  Keeps a range of addresses of the scope from being leased.";
constexpr char kSetOptionUsage[] =
    "Usage: set optionvalue OptionCode BYTE | WORD | DWORD | STRING | IPADDRESS\n"
    "       [user=UserClass] [vendor=VendorClass] [DhcpFullForce | DhcpNoForce] Value ...\n"
    "  Sets an option of the scope.";
constexpr char kAddReservationUsage[] =
    "Usage: add reservedip ReservedIP MAC [ClientName] [ClientComment] [DHCP | BOOTP | BOTH]\n"
    "  Reserves an address. The MAC is hexadecimal digits with nothing between them.";
constexpr char kDeleteReservationUsage[] =
    "Usage: delete reservedip ReservedIP MAC\n"
    "  Deletes the reservation of an address.";

bool Is(const std::wstring& word, const wchar_t* keyword) {
    return ::_wcsicmp(word.c_str(), keyword) == 0;
}

bool StartsWith(const std::wstring& word, const wchar_t* prefix) {
    return ::_wcsnicmp(word.c_str(), prefix, std::wcslen(prefix)) == 0;
}

/// Takes words one after another; a word that does not fit, or is missing, spoils all of them.
class WordReader {
public:
    explicit WordReader(std::vector<std::wstring> words) : m_words(std::move(words)) {}

    bool HasNext() const { return m_next < m_words.size(); }
    bool IsFine() const { return m_isFine; }
    void Spoil() { m_isFine = false; }

    std::wstring Next() {
        if (!HasNext()) {
            Spoil();
            return {};
        }
        return m_words[m_next++];
    }
    /// The next word only when the test likes it.
    template <class Test>
    std::optional<std::wstring> NextIf(const Test& test) {
        return HasNext() && test(m_words[m_next]) ? std::optional(m_words[m_next++]) : std::nullopt;
    }
    std::optional<std::wstring> Optional() {
        return NextIf([](const std::wstring&) { return true; });
    }
    DWORD Address() { return static_cast<DWORD>(Value(ParseAddress(Next()))); }
    ULONGLONG Number(ULONGLONG max) { return Value(ParseNumber(Next(), max)); }

    template <class Number>
    ULONGLONG Value(const std::optional<Number>& value) {
        m_isFine = m_isFine && value;
        return value.value_or(0);
    }

private:
    std::vector<std::wstring> m_words;
    std::size_t m_next = 0;
    bool m_isFine = true;
};

/// DHCP, BOOTP or BOTH, as allowed client types; absent words leave the default.
BYTE ReadTypes(WordReader& words, BYTE standard) {
    const auto word = words.Optional();
    if (!word)
        return standard;
    if (Is(*word, L"DHCP"))
        return CLIENT_TYPE_DHCP;
    if (Is(*word, L"BOOTP"))
        return CLIENT_TYPE_BOOTP;
    if (!Is(*word, L"BOTH"))
        words.Spoil();
    return CLIENT_TYPE_BOTH;
}

Identifier ReadMac(WordReader& words) {
    const std::wstring digits = words.Next();
    const auto bytes = ParseHexBytes(digits);
    if (!bytes || digits.empty() || digits.size() > kMaxMacDigits) {
        words.Spoil();
        return {};
    }
    return *bytes;
}

void ReadOption(WordReader& words, NetshCommand& command) {
    command.optionId = static_cast<DWORD>(words.Number(0xFFFFFFFF));
    static constexpr struct {
        const wchar_t* name;
        DHCP_OPTION_DATA_TYPE type;
        ULONGLONG max;
    } kTypes[] = {{L"BYTE", DhcpByteOption, 0xFF},
                  {L"WORD", DhcpWordOption, 0xFFFF},
                  {L"DWORD", DhcpDWordOption, 0xFFFFFFFF},
                  {L"STRING", DhcpStringDataOption, 0},
                  {L"IPADDRESS", DhcpIpAddressOption, 0}};
    const std::wstring typeName = words.Next();
    const auto* type = std::begin(kTypes);
    while (type != std::end(kTypes) && !Is(typeName, type->name))
        ++type;
    if (type == std::end(kTypes)) {
        words.Spoil();
        return;
    }
    for (const wchar_t* prefix : {L"user=", L"vendor="}) {
        const auto isClass = [prefix](const auto& word) { return StartsWith(word, prefix); };
        if (const auto word = words.NextIf(isClass); word && word->size() > std::wcslen(prefix))
            command.isDefaultClass = false;
    }
    words.NextIf(
        [](const auto& word) { return Is(word, L"DhcpFullForce") || Is(word, L"DhcpNoForce"); });
    do {
        OptionElement element{type->type, 0, {}, {}};
        if (type->type == DhcpStringDataOption)
            element.text = words.Next();
        else if (type->type == DhcpIpAddressOption)
            element.number = words.Address();
        else
            element.number = words.Number(type->max);
        command.optionValue.push_back(std::move(element));
    } while (words.HasNext() && words.IsFine());
}

DHCP_SUBNET_ELEMENT_TYPE RangeTypeOf(BYTE clientTypes) {
    switch (clientTypes) {
        case CLIENT_TYPE_DHCP:
            return DhcpIpRangesDhcpOnly;
        case CLIENT_TYPE_BOOTP:
            return DhcpIpRangesBootpOnly;
        case CLIENT_TYPE_BOTH:
            return DhcpIpRangesDhcpBootp;
        default:
            return DhcpIpRanges;
    }
}

struct Verb {
    const wchar_t* first;
    const wchar_t* second;
    NetshCommand::Verb verb;
    bool isInScope;
    const char* usage;
};
constexpr Verb kVerbs[] = {
    {L"add", L"scope", NetshCommand::Verb::kAddScope, false, kAddScopeUsage},
    {L"add", L"iprange", NetshCommand::Verb::kAddRange, true, kAddRangeUsage},
    {L"add", L"excluderange", NetshCommand::Verb::kAddExclusion, true, kAddExclusionUsage},
    {L"set", L"optionvalue", NetshCommand::Verb::kSetOption, true, kSetOptionUsage},
    {L"add", L"reservedip", NetshCommand::Verb::kAddReservation, true, kAddReservationUsage},
    {L"delete", L"reservedip", NetshCommand::Verb::kDeleteReservation, true,
     kDeleteReservationUsage},
};

void ReadArguments(WordReader& words, NetshCommand& command) {
    switch (command.verb) {
        case NetshCommand::Verb::kAddScope:
            command.scope = words.Address();
            command.mask = words.Address();
            command.name = words.Next();
            command.comment = words.Optional().value_or(L"");
            break;
        case NetshCommand::Verb::kAddRange:
            command.range = {words.Address(), 0};
            command.range.last = words.Address();
            command.rangeType = RangeTypeOf(ReadTypes(words, CLIENT_TYPE_UNSPECIFIED));
            if (words.HasNext())
                words.Number(0xFFFFFFFF);  // the most BOOTP clients: none are ever served here
            break;
        case NetshCommand::Verb::kAddExclusion:
            command.range = {words.Address(), 0};
            command.range.last = words.Address();
            break;
        case NetshCommand::Verb::kSetOption:
            ReadOption(words, command);
            break;
        case NetshCommand::Verb::kAddReservation:
        case NetshCommand::Verb::kDeleteReservation:
            command.range.first = words.Address();
            command.range.last = command.range.first;
            command.hardware = ReadMac(words);
            if (command.verb == NetshCommand::Verb::kAddReservation) {
                command.name = words.Optional();
                command.comment = words.Optional();
                command.clientTypes = ReadTypes(words, CLIENT_TYPE_BOTH);
            }
            break;
    }
    if (words.HasNext())
        words.Spoil();
}

}  // namespace

std::optional<NetshCommand> NetshCommand::Parse(const std::vector<std::wstring>& words) {
    const auto isWord = [&words](std::size_t at, const wchar_t* keyword) {
        return at < words.size() && Is(words[at], keyword);
    };
    if (!isWord(0, L"dhcp") || !isWord(1, L"server"))
        return std::nullopt;
    std::size_t next = 2;
    NetshCommand command{};
    const auto isContext = [&isWord](std::size_t at) {
        return isWord(at, L"add") || isWord(at, L"set") || isWord(at, L"delete") ||
               isWord(at, L"scope");
    };
    if (next < words.size() && !isContext(next)) {
        // A bare host name is outside of netsh's own grammar, but it is what users type.
        const std::wstring& server = words[next++];
        command.server = StartsWith(server, L"\\\\") ? server.substr(2) : server;
    }
    const bool isInScope = isWord(next, L"scope");
    if (isInScope) {
        const auto id = next + 1 < words.size() ? ParseAddress(words[next + 1]) : std::nullopt;
        command.isScopeValid = id.has_value();
        command.scope = id.value_or(0);
        next += 2;
    }
    for (const lab::Verb& verb : kVerbs) {
        if (verb.isInScope == isInScope && isWord(next, verb.first) &&
            isWord(next + 1, verb.second)) {
            command.verb = verb.verb;
            const auto from = words.begin() + static_cast<std::ptrdiff_t>(next + 2);
            WordReader arguments({from, words.end()});
            ReadArguments(arguments, command);
            if (!arguments.IsFine())
                command.usage = verb.usage;
            return command;
        }
    }
    return std::nullopt;
}

DWORD NetshCommand::Run(ServerRules& rules) const {
    // The API's records, filled as netsh fills them. They only point at this command's members.
    DHCP_IP_RANGE bounds{range.first, range.last};
    DHCP_CLIENT_UID client{static_cast<DWORD>(hardware.size()),
                           reinterpret_cast<BYTE*>(const_cast<char*>(hardware.data()))};
    DHCP_IP_RESERVATION_V4 reservation{range.first, &client, clientTypes};
    DHCP_SUBNET_ELEMENT_DATA_V4 element{};
    switch (verb) {
        case Verb::kAddScope: {
            DHCP_SUBNET_INFO info{};
            info.SubnetAddress = scope;
            info.SubnetMask = mask;
            info.SubnetName = const_cast<WCHAR*>(name->c_str());
            info.SubnetComment = const_cast<WCHAR*>(comment->c_str());
            return rules.CreateSubnet(scope, &info);
        }
        case Verb::kAddRange:
            element.ElementType = rangeType;
            element.Element.IpRange = &bounds;
            return rules.AddElement(scope, element);
        case Verb::kAddExclusion:
            element.ElementType = DhcpExcludedIpRanges;
            element.Element.ExcludeIpRange = &bounds;
            return rules.AddElement(scope, element);
        case Verb::kSetOption: {
            std::vector<DHCP_OPTION_DATA_ELEMENT> elements;
            for (const OptionElement& value : optionValue) {
                DHCP_OPTION_DATA_ELEMENT copy{};
                copy.OptionType = static_cast<DHCP_OPTION_DATA_TYPE>(value.type);
                if (value.type == DhcpStringDataOption)
                    copy.Element.StringDataOption = const_cast<WCHAR*>(value.text.c_str());
                else
                    copy.Element.DWordDWordOption = value.number;
                elements.push_back(copy);
            }
            DHCP_OPTION_SCOPE_INFO where{};
            where.ScopeType = DhcpSubnetOptions;
            where.ScopeInfo.SubnetScopeInfo = scope;
            return rules.SetOptionValue(optionId, where,
                                        {static_cast<DWORD>(elements.size()), elements.data()});
        }
        case Verb::kAddReservation: {
            element.ElementType = DhcpReservedIps;
            element.Element.ReservedIp = &reservation;
            const DWORD code = rules.AddElement(scope, element);
            if (code != ERROR_SUCCESS || !name)
                return code;
            // A reservation has no texts of its own: they go to the record that came with it.
            return rules.SetClientTexts(range.first, name->c_str(),
                                        comment ? comment->c_str() : nullptr);
        }
        case Verb::kDeleteReservation:
            element.ElementType = DhcpReservedIps;
            element.Element.ReservedIp = &reservation;
            return rules.RemoveElement(scope, element, DhcpNoForce);
    }
    return ERROR_INVALID_PARAMETER;
}

std::string NetshErrorText(DWORD code) {
    switch (code) {
        case ERROR_ACCESS_DENIED:
            return "Access is denied.";
        case ERROR_INVALID_PARAMETER:
            return "The parameter is incorrect.";
        case kSubnetNotPresent:
            return "The specified subnet does not exist on the server.";
        case kOptionNotPresent:
            return "The specified option is not defined on the server.";
        case kJetError:
            return "The server's database reported an error: the record exists, or there is none.";
        case kNotReservedClient:
            return "The specified client is not a reserved client.";
        case kReservedClient:
            return "The specified client is a reserved client.";
        case kRangeExists:
            return "The specified address range already exists.";
        case kReservationExists:
            return "The specified IP address or hardware address is being used by another client.";
        case kInvalidRange:
            return "The specified range overlaps with another one or is not valid.";
        case kSubnetExists:
            return "The specified subnet overlaps with an existing one.";
        default:
            return "The server answered with error " + std::to_string(code) + ".";
    }
}

}  // namespace lab
