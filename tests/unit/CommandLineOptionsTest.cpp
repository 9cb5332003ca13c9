#include "driver/CommandLineOptions.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

namespace po = boost::program_options;

/// "name=value" of every option found, in alphabetical order; "!" and the reason when the line is
/// refused.
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

TEST(CommandLineOptions, EveryOptionTakesItsValueInEveryFormAndHasAnImplicitOne) {
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

TEST(CommandLineOptions, ALineMeansWhatItSaysOrIsRefused) {
    const struct {
        const char* why;
        std::vector<std::string> arguments;
        const char* expected;
    } rows[] = {
        {"short letters know their case", {"-C"}, "! unrecognised option '-C'"},
        {"also behind a slash, where a value is stuck on", {"/Ca"}, "! unrecognised option '/Ca'"},
        {"and within a group", {"-hC"}, "! unrecognised option '-hC'"},
        {"and behind three dashes", {"---C"}, "! unrecognised option '---C'"},
        {"long names have no case", {"--EXPORTCLIENTS=x.csv"}, "exportClients=x.csv"},
        {"and may be cut short", {"--rESERV", "s"}, "Reservation=s"},
        {"unless others begin so, too",
         {"--update"},
         "! option '--update' is ambiguous and matches '--updateClients', '--updateMAC', and "
         "'--updateScopes'"},
        {"-help is -h with -e lp",
         {"-help"},
         "! the argument ('lp') for option '--errorDesc' is invalid"},
        {"a switch can be stuck to an option with a value", {"-hca"}, "exportClients=a help="},
        {"which takes all the rest", {"-ch"}, "exportClients=h"},
        {"a slash begins one letter", {"/hC"}, "! option '--help' does not take any arguments"},
        {"no option twice, with a value or the implicit one",
         {"-c", "--exportC"},
         "! option '--exportClients' cannot be specified more than once"},
        {"help twice", {"-hh"}, "! option '--help' cannot be specified more than once"},
        {"below zero", {"-d-5"}, "! the argument ('-5') for option '--leaseDuration' is invalid"},
        {"a long one",
         {"--errorDesc=-1"},
         "! the argument ('-1') for option '--errorDesc' is invalid"},
        {"a dash begins an option", {"-e", "-1"}, "! unrecognised option '-1'"},
        {"the largest number", {"-e4294967295"}, "errorDesc=4294967295"},
        {"one more",
         {"-e4294967296"},
         "! the argument ('4294967296') for option '--errorDesc' is invalid"},
        {"so is a single dash or slash", {"-c", "-", "-s", "/"}, "exportClients=- exportScopes=/"},
        {"a stuck value keeps its sign", {"-c=a.csv"}, "exportClients==a.csv"},
        {"stray words are passed over", {"a.csv", "-s", "b", "c", "--", "-C"}, "exportScopes=b"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(Parse(row.arguments), row.expected);
    }
}

}  // namespace
