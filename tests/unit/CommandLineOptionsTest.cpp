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
        {"also behind a slash", {"/C"}, "! unrecognised option '/C'"},
        {"also with a value stuck on", {"-Ca.csv"}, "! unrecognised option '-Ca.csv'"},
        {"also within a group", {"-hC"}, "! unrecognised option '-hC'"},
        {"and the capital of the one long name in capitals", {"-Z"}, "! unrecognised option '-Z'"},
        {"nor behind three dashes", {"---C"}, "! unrecognised option '---C'"},
        {"letters without an option", {"-j"}, "! unrecognised option '-j'"},
        {"of another slash", {"/x"}, "! unrecognised option '/x'"},
        {"long names do not", {"--EXPORTCLIENTS=x.csv"}, "exportClients=x.csv"},
        {"nor do their beginnings", {"--exportC=x.csv"}, "exportClients=x.csv"},
        {"in any case", {"--rESERV", "s"}, "Reservation=s"},
        {"one letter can be enough", {"--r"}, "Reservation="},
        {"three options begin so",
         {"--update"},
         "! option '--update' is ambiguous and matches '--updateClients', '--updateMAC', and "
         "'--updateScopes'"},
        {"no option begins so", {"--nosuch"}, "! unrecognised option '--nosuch'"},
        {"this is -h with -e lp",
         {"-help"},
         "! the argument ('lp') for option '--errorDesc' is invalid"},
        {"the only switch can be stuck to another", {"-hc"}, "exportClients= help="},
        {"whose value may follow", {"-hca.csv"}, "exportClients=a.csv help="},
        {"an option with a value takes the rest", {"-ch"}, "exportClients=h"},
        {"useAdapter does so too", {"-ps"}, "useAdapter=s"},
        {"a slash begins one letter", {"/hv"}, "! option '--help' does not take any arguments"},
        {"no second implicit value",
         {"-c", "-c"},
         "! option '--exportClients' cannot be specified more than once"},
        {"no second value",
         {"-c", "a", "--exportC", "b"},
         "! option '--exportClients' cannot be specified more than once"},
        {"nor a value and an implicit one",
         {"-d", "60", "-d"},
         "! option '--leaseDuration' cannot be specified more than once"},
        {"help twice", {"-hh"}, "! option '--help' cannot be specified more than once"},
        {"not a number",
         {"-d", "abc"},
         "! the argument ('abc') for option '--leaseDuration' is invalid"},
        {"below zero", {"-d-5"}, "! the argument ('-5') for option '--leaseDuration' is invalid"},
        {"below zero, long",
         {"--errorDesc=-1"},
         "! the argument ('-1') for option '--errorDesc' is invalid"},
        {"a dash begins an option", {"-e", "-1"}, "! unrecognised option '-1'"},
        {"largest number", {"-e4294967295"}, "errorDesc=4294967295"},
        {"one more",
         {"-e4294967296"},
         "! the argument ('4294967296') for option '--errorDesc' is invalid"},
        {"hexadecimal",
         {"-e", "0x10"},
         "! the argument ('0x10') for option '--errorDesc' is invalid"},
        {"no number at all", {"-e", ""}, "! the argument for option '--errorDesc' is invalid"},
        {"decimal all the same", {"-d", "010"}, "leaseDuration=10"},
        {"an empty name is a name", {"-c", ""}, "exportClients="},
        {"so is a single dash", {"-c", "-"}, "exportClients=-"},
        {"and a single slash", {"--exportClients", "/"}, "exportClients=/"},
        {"a stuck value keeps its sign", {"-c=a.csv"}, "exportClients==a.csv"},
        {"nothing adjacent",
         {"--exportClients="},
         "! the argument for option '--exportClients' should follow immediately after the equal "
         "sign"},
        {"help takes no value", {"--help=x"}, "! option '--help' does not take any arguments"},
        {"stray words are passed over", {"a.csv", "-s", "b", "c", "--", "-C"}, "exportScopes=b"},
        {"a blank is part of a value", {"-v", "on "}, "verbose=on "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(Parse(row.arguments), row.expected);
    }
}

}  // namespace
