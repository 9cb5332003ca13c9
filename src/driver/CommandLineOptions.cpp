#include "driver/CommandLineOptions.h"

#include <set>
#include <string>
#include <vector>

#include "dhcpserver/DhcpOptions.h"

namespace po = boost::program_options;

namespace {

enum class ValueType { None, Text, Number };

struct Option {
    const char* longName;
    const char* shortSuffix;
    ValueType type;
    const char* implicitText;     // for ValueType::Text
    unsigned int implicitNumber;  // for ValueType::Number
    const char* help;
};

// clang-format off
constexpr Option kOptions[] = {
    {kOptionAutoUpdate, ",a", ValueType::Text, " ", 0, "Updates DHCP scopes and clients information automatically on DHCP server."},
    {kOptionGenerateBatch, ",b", ValueType::Text, "", 0, "Specifies the name of a batch file that will be used to store all NETSH commands to be executed on a DHCP server."},
    {kOptionExportClients, ",c", ValueType::Text, "", 0, "Gets client information from storage and stores it in specified CSV file."},
    {kOptionLeaseDuration, ",d", ValueType::Number, "", kDefaultLeaseSeconds, "Specifies the default lease duration in seconds for each scope (Default value: 691200 sec ie 8 days)."},
    {kOptionErrorDesc, ",e", ValueType::Number, "", 4294967295, "Allows to view description of DHCP error code returned."},
    {kOptionScopesIPInfo, ",f", ValueType::Text, "", 0, "Update scopes IP address and netmask from registry to XML"},
    {kOptionUpdateScopes, ",g", ValueType::Text, "", 0, "Updates DHCP with scopes information using information from specified CSV file."},
    {kOptionHelp, ",h", ValueType::None, "", 0, "Get this help."},
    {kOptionDhcpServerIp, ",i", ValueType::Text, "", 0, "Specifies the IP Address of the DHCP server."},
    {kOptionUpdateClients, ",l", ValueType::Text, "", 0, "Updates DHCP with clients information using information from specified CSV file."},
    {kOptionUpdateMAC, ",m", ValueType::Text, "", 0, "Checks clients MAC Addresses and converts them if necessary."},
    {kOptionOutputLogFile, ",o", ValueType::Text, "output.txt", 0, "Specifies the file name for logging output."},
    {kOptionUseAdapter, ",p", ValueType::Text, "", 0, "Use Zeph-On adapter IP information to populate scopes information (ZephonRelay must be running and master)."},
    {kOptionSetDhcpServerIp, ",r", ValueType::Text, "", 0, "Sets the DHCP server IP address in Zephon.XML."},
    {kOptionExportScopes, ",s", ValueType::Text, "", 0, "Gets scopes information from storage and stores it in specified CSV file."},
    {kOptionVerbose, ",v", ValueType::Text, "on", 0, "Verbose on or off."},
    {kOptionWriteFile, ",w", ValueType::Text, "", 0, "Set the default file name for batch operations."},
    {kOptionReservation, ",z", ValueType::Text, "", 0, "Cleanup DHCP lease type entries and update MAC addresses in reservation entries."},
};
// clang-format on

// All of: long and short names, "-" and "/" before a short one, values adjacent or as the next
// argument, sticky short switches, unambiguous prefixes of long names, names without regard to
// case.
constexpr int kParserStyle = 2047;

// Decision 0018. The library is laxer than this tool promises in four places; each is closed here.
// A wrong command line must end in the help, not in a command that the administrator did not mean.

[[noreturn]] void ThrowUnknownOption(const std::string& token) {
    po::unknown_option error;
    error.add_context("", token, po::command_line_style::allow_dash_for_short);
    throw error;
}

/// Comparing names without regard to case, the library takes "-C" for "-c", and "---C" for the long
/// name "-C" and so for the same. Called for every token that stands where an option may stand.
void RejectUnknownLetter(const po::options_description& description, const std::string& token) {
    if (token.compare(0, 3, "---") == 0)
        ThrowUnknownOption(token);
    const bool dash = token.size() >= 2 && token[0] == '-' && token[1] != '-';
    const bool slash = token.size() >= 2 && token[0] == '/';
    if (!dash && !slash)
        return;
    for (std::string::size_type i = 1; i < token.size(); ++i) {
        const po::option_description* const option =
            description.find_nothrow(std::string{'-', token[i]}, false, false, false);
        if (!option)
            ThrowUnknownOption(token);
        // What follows is its value. A "/" introduces one letter only.
        if (slash || option->semantic()->max_tokens() != 0)
            return;
    }
}

template <class Error>
[[noreturn]] void ThrowAbout(const po::option& option, Error error) {
    error.add_context(
        option.string_key,
        option.original_tokens.empty() ? option.string_key : option.original_tokens[0],
        po::command_line_style::allow_long);
    throw error;
}

/// The library notices a second occurrence only if that one has a value of its own.
void RejectRepetitions(const po::parsed_options& parsed) {
    std::set<std::string> seen;
    for (const po::option& option : parsed.options)
        if (!option.string_key.empty() && !seen.insert(option.string_key).second)
            ThrowAbout(option, po::multiple_occurrences());
}

/// The library reads "-5" as an unsigned number by wrapping it round.
void RejectNegativeNumbers(const po::parsed_options& parsed) {
    for (const po::option& option : parsed.options) {
        const bool number =
            option.string_key == kOptionLeaseDuration || option.string_key == kOptionErrorDesc;
        if (number && !option.value.empty() && option.value[0].find('-') == 0)
            ThrowAbout(option, po::invalid_option_value(option.value[0]));
    }
}

}  // namespace

void BuildOptionsDescription(po::options_description& description) {
    for (const Option& option : kOptions) {
        const std::string name = std::string(option.longName) + option.shortSuffix;
        switch (option.type) {
            case ValueType::None:
                description.add_options()(name.c_str(), option.help);
                break;
            case ValueType::Text:
                description.add_options()(
                    name.c_str(),
                    po::value<std::string>()->implicit_value(std::string(option.implicitText)),
                    option.help);
                break;
            case ValueType::Number:
                description.add_options()(
                    name.c_str(), po::value<unsigned int>()->implicit_value(option.implicitNumber),
                    option.help);
                break;
        }
    }
}

po::parsed_options ParseCommandLine(int argc, const char* const* argv,
                                    const po::options_description& description) {
    const auto checkToken = [&description](std::vector<std::string>& tokens) {
        RejectUnknownLetter(description, tokens[0]);
        return std::vector<po::option>();
    };
    const po::parsed_options parsed = po::command_line_parser(argc, argv)
                                          .options(description)
                                          .style(kParserStyle)
                                          .extra_style_parser(checkToken)
                                          .run();
    RejectRepetitions(parsed);
    RejectNegativeNumbers(parsed);
    return parsed;
}
