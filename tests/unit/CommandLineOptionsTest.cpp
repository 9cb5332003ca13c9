#include "driver/CommandLineOptions.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

namespace po = boost::program_options;

/// Returns "name=value" for each option found, in alphabetical order; for an invalid command line
/// "!" and the message.
std::string Parse(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "dhcpmigrate");
    std::vector<const char*> argv;
    argv.reserve(arguments.size());
    for (const std::string& argument : arguments)
        argv.push_back(argument.c_str());
    try {
        po::options_description description;
        BuildOptionsDescription(description);
        po::variables_map variables;
        po::store(ParseCommandLine(static_cast<int>(argv.size()), argv.data(), description),
                  variables);
        std::string found;
        for (const auto& [name, value] : variables) {
            found += (found.empty() ? "" : " ") + name;
            if (const auto* const text = boost::any_cast<std::string>(&value.value()))
                found += "=" + *text;
            else if (const auto* const number = boost::any_cast<unsigned int>(&value.value()))
                found += "=" + std::to_string(*number);
        }
        return found;
    } catch (const std::exception& refused) {
        return std::string("! ") + refused.what();
    }
}

TEST(CommandLineOptions, EveryOptionAcceptsItsValueInEveryFormAndHasAnImplicitOne) {
    const struct {
        std::string name, letter, implicitValue, value = "v.csv";
    } rows[] = {
        {"autoUpdate", "a", " "},
        {"generateBatch", "b", ""},
        {"exportClients", "c", ""},
        {"leaseDuration", "d", "691200", "60"},
        {"scopesIPInfo", "f", ""},
        {"errorDesc", "e", "4294967295", "20004"},
        {"updateScopes", "g", ""},
        {"dhcpServerIp", "i", ""},
        {"updateClients", "l", ""},
        {"updateMAC", "m", ""},
        {"useAdapter", "p", ""},
        {"outputLogFile", "o", "output.txt"},
        {"setDhcpServerIp", "r", ""},
        {"exportScopes", "s", ""},
        {"verbose", "v", "on"},
        {"writeFile", "w", ""},
        {"Reservation", "z", "", "10.1.0.0"},
    };
    for (const auto& row : rows) {
        const std::string expected = row.name + "=" + row.value;
        EXPECT_EQ(Parse({"-" + row.letter, row.value}), expected);
        EXPECT_EQ(Parse({"-" + row.letter + row.value}), expected);
        EXPECT_EQ(Parse({"/" + row.letter, row.value}), expected);
        EXPECT_EQ(Parse({"--" + row.name, row.value}), expected);
        EXPECT_EQ(Parse({"--" + row.name + "=" + row.value}), expected);
        EXPECT_EQ(Parse({"-" + row.letter}), row.name + "=" + row.implicitValue);
        EXPECT_EQ(Parse({"--" + row.name}), row.name + "=" + row.implicitValue);
    }
}

TEST(CommandLineOptions, InvalidLinesAreRefusedWithAMessage) {
    const struct {
        const char* why;
        std::vector<std::string> arguments;
        const char* expected;
    } rows[] = {
        {"short names are case-sensitive", {"-C"}, "! unrecognised option '-C'"},
        {"also after a slash, with an attached value", {"/Ca"}, "! unrecognised option '/Ca'"},
        {"also within a group", {"-hC"}, "! unrecognised option '-hC'"},
        {"also after three dashes", {"---C"}, "! unrecognised option '---C'"},
        {"long names are case-insensitive", {"--EXPORTCLIENTS=x.csv"}, "exportClients=x.csv"},
        {"and can be abbreviated", {"--rESERV", "s"}, "Reservation=s"},
        {"unless the abbreviation is ambiguous",
         {"--update"},
         "! option '--update' is ambiguous and matches '--updateClients', '--updateMAC', and "
         "'--updateScopes'"},
        {"-help means -h -e lp",
         {"-help"},
         "! the argument ('lp') for option '--errorDesc' is invalid"},
        {"a switch can precede an option in a group", {"-hca"}, "exportClients=a help="},
        {"whose value is the rest of the group", {"-ch"}, "exportClients=h"},
        {"after /h the rest is a value", {"/hC"}, "! option '--help' does not take any arguments"},
        {"no option twice, not even with implicit values",
         {"-c", "--exportC"},
         "! option '--exportClients' cannot be specified more than once"},
        {"not even help", {"-hh"}, "! option '--help' cannot be specified more than once"},
        {"negative", {"-d-5"}, "! the argument ('-5') for option '--leaseDuration' is invalid"},
        {"negative, with a long name",
         {"--errorDesc=-1"},
         "! the argument ('-1') for option '--errorDesc' is invalid"},
        {"a dash always begins an option", {"-e", "-1"}, "! unrecognised option '-1'"},
        {"the largest number", {"-e4294967295"}, "errorDesc=4294967295"},
        {"the largest number plus one",
         {"-e4294967296"},
         "! the argument ('4294967296') for option '--errorDesc' is invalid"},
        {"single - and / are values", {"-c", "-", "-s", "/"}, "exportClients=- exportScopes=/"},
        {"an attached value keeps its \"=\"", {"-c=a.csv"}, "exportClients==a.csv"},
        {"stray words are ignored", {"a.csv", "-s", "b", "c", "--", "-C"}, "exportScopes=b"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(Parse(row.arguments), row.expected);
    }
}

}  // namespace
