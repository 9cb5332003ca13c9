#include "driver/CommandLineOptions.h"

#include <set>
#include <string>
#include <vector>

#include "dhcpserver/DhcpOptions.h"

namespace po = boost::program_options;

namespace {

// Allows long and short names, "-" and "/" before short names, values in the same or the next
// argument, combined short switches, unambiguous prefixes of long names, and names in any case.
constexpr int kParserStyle = 2047;

// Decision 0018. The functions below reject command lines that the library would accept: a wrong
// one must show the help, not run a command that the administrator did not mean.

[[noreturn]] void ThrowUnknownOption(const std::string& token) {
    po::unknown_option error;
    error.add_context("", token, po::command_line_style::allow_dash_for_short);
    throw error;
}

/// The library ignores case, so it takes "-C" for "-c", and also "---C" (as the long name "-C").
/// Called for every token in the position of an option.
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
        // The rest is the value. A "/" introduces only one letter.
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

/// The library accepts a second occurrence that has no value.
void RejectRepetitions(const po::parsed_options& parsed) {
    std::set<std::string> seen;
    for (const po::option& option : parsed.options)
        if (!option.string_key.empty() && !seen.insert(option.string_key).second)
            ThrowAbout(option, po::multiple_occurrences());
}

/// The library reads "-5" as a large unsigned number.
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
    const auto add = [&](const char* longName, const char* suffix, const po::value_semantic* value,
                         const char* help) {
        description.add_options()((std::string(longName) + suffix).c_str(), value, help);
    };
    const auto none = [] { return new po::untyped_value(true); };
    const auto text = [](const std::string& implicit) {
        return po::value<std::string>()->implicit_value(implicit);
    };
    const auto number = [](unsigned int implicit) {
        return po::value<unsigned int>()->implicit_value(implicit);
    };
    // clang-format off
    add(kOptionAutoUpdate, ",a", text(" "), "Updates DHCP scopes and clients information automatically on DHCP server.");
    add(kOptionGenerateBatch, ",b", text(""), "Specifies the name of a batch file that will be used to store all NETSH commands to be executed on a DHCP server.");
    add(kOptionExportClients, ",c", text(""), "Gets client information from storage and stores it in specified CSV file.");
    add(kOptionLeaseDuration, ",d", number(kDefaultLeaseSeconds), "Specifies the default lease duration in seconds for each scope (Default value: 691200 sec ie 8 days).");
    add(kOptionErrorDesc, ",e", number(4294967295), "Allows to view description of DHCP error code returned.");
    add(kOptionScopesIPInfo, ",f", text(""), "Update scopes IP address and netmask from registry to XML");
    add(kOptionUpdateScopes, ",g", text(""), "Updates DHCP with scopes information using information from specified CSV file.");
    add(kOptionHelp, ",h", none(), "Get this help.");
    add(kOptionDhcpServerIp, ",i", text(""), "Specifies the IP Address of the DHCP server.");
    add(kOptionUpdateClients, ",l", text(""), "Updates DHCP with clients information using information from specified CSV file.");
    add(kOptionUpdateMAC, ",m", text(""), "Checks clients MAC Addresses and converts them if necessary.");
    add(kOptionOutputLogFile, ",o", text("output.txt"), "Specifies the file name for logging output.");
    add(kOptionUseAdapter, ",p", text(""), "Use Zeph-On adapter IP information to populate scopes information (ZephonRelay must be running and master).");
    add(kOptionSetDhcpServerIp, ",r", text(""), "Sets the DHCP server IP address in Zephon.XML.");
    add(kOptionExportScopes, ",s", text(""), "Gets scopes information from storage and stores it in specified CSV file.");
    add(kOptionVerbose, ",v", text("on"), "Verbose on or off.");
    add(kOptionWriteFile, ",w", text(""), "Set the default file name for batch operations.");
    add(kOptionReservation, ",z", text(""), "Cleanup DHCP lease type entries and update MAC addresses in reservation entries.");
    // clang-format on
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
