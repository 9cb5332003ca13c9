#pragma once

#include <boost/program_options.hpp>

// Long names of the options: the keys of the parsed result.
inline constexpr char kOptionAutoUpdate[] = "autoUpdate";
inline constexpr char kOptionGenerateBatch[] = "generateBatch";
inline constexpr char kOptionExportClients[] = "exportClients";
inline constexpr char kOptionLeaseDuration[] = "leaseDuration";
inline constexpr char kOptionErrorDesc[] = "errorDesc";
inline constexpr char kOptionScopesIPInfo[] = "scopesIPInfo";
inline constexpr char kOptionUpdateScopes[] = "updateScopes";
inline constexpr char kOptionHelp[] = "help";
inline constexpr char kOptionDhcpServerIp[] = "dhcpServerIp";
inline constexpr char kOptionUpdateClients[] = "updateClients";
inline constexpr char kOptionUpdateMAC[] = "updateMAC";
inline constexpr char kOptionOutputLogFile[] = "outputLogFile";
inline constexpr char kOptionUseAdapter[] = "useAdapter";
inline constexpr char kOptionSetDhcpServerIp[] = "setDhcpServerIp";
inline constexpr char kOptionExportScopes[] = "exportScopes";
inline constexpr char kOptionVerbose[] = "verbose";
inline constexpr char kOptionWriteFile[] = "writeFile";
inline constexpr char kOptionReservation[] = "Reservation";

/// Registers every option, in the order of the help lines.
void BuildOptionsDescription(boost::program_options::options_description& description);

/// Parses strictly. Throws a boost::program_options error for an unknown option (also a short one
/// in the wrong case), a repeated option, and a value that is not an unsigned number.
boost::program_options::parsed_options ParseCommandLine(
    int argc, const char* const* argv,
    const boost::program_options::options_description& description);
