// Every text that CDHCPCommandParser shows, in the order of the commands. Progress texts begin with
// one line feed and end with two. Administrators' scripts match these texts.
#pragma once

inline constexpr char kHelpTitle[] = "\nDHCP Client information generation program\n\n";
inline constexpr char kHelpLine[] = "%-30s\t%s\r\n";  // formatted option name, help text

inline constexpr char kCommandEnded[] = "Command ended by exception [%s]\n";  // exception text

inline constexpr char kExportClientsStart[] =
    "\nGetting DHCP Clients information from storage. Please wait ...\n\n";
inline constexpr char kExportScopesStart[] =
    "\nGetting DHCP Scopes information from storage. Please wait ...\n\n";
inline constexpr char kExportDone[] =  // CSV file name
    "\nDHCP information is now available. See output file %s\n\n";
inline constexpr char kUpdateScopesStart[] =  // CSV file name
    "\nSetting DHCP Scopes information on DHCP Server from file %s. Please wait ...\n\n";
inline constexpr char kUpdateClientsStart[] =  // CSV file name
    "\nSetting DHCP Clients information on DHCP Server from file %s. Please wait ...\n\n";
inline constexpr char kUpdateClientsDone[] =
    "\nDHCP clients information should be available on DHCP server.\n\n";
inline constexpr char kUpdateScopesDone[] =
    "\nDHCP scopes information should be available on DHCP server.\n\n";
inline constexpr char kMacUpdateStart[] =
    "\nUpdating clients MAC Address in storage. Please wait ...\n\n";
inline constexpr char kMacUpdateDone[] = "\nClients MAC were all processed.\n\n";
inline constexpr char kScopeAddressesStart[] =
    "\nUpdating scopes IP address and mask in storage. Please wait ...\n\n";
inline constexpr char kScopeAddressesDone[] =
    "\nScopes IP address and mask were all processed.\n\n";
inline constexpr char kBatchScopesStart[] =
    "\nGetting DHCP Scopes information and creating NETSH commands. Please wait ...\n\n";
inline constexpr char kBatchScopesDone[] =  // batch file name
    "\nDHCP Scopes information is now available. See command file %s\n\n";
inline constexpr char kBatchClientsStart[] =
    "\nGetting DHCP Clients information and creating NETSH commands. Please wait ...\n\n";
inline constexpr char kBatchClientsDone[] =  // batch file name
    "\nDHCP Clients information is now available. See command file %s\n\n";
inline constexpr char kServerAddressStart[] =
    "\nSetting DHCP Server IP address in XML. Please wait ...\n\n";
inline constexpr char kServerAddressDone[] =
    "\nDHCP Server IP address is now available in XML.\n\n";
inline constexpr char kReservationStart[] =
    "\nChanging dynamic client to reserved. Please wait ...\n\n";
inline constexpr char kReservationDone[] = "\nChanging dynamic client to reserved done.\n\n";

// Joined around the option's name.
inline constexpr char kMissingServerBefore[] =
    "No DHCP server IP address specified. Please use option [";
inline constexpr char kMissingServerAfter[] = "]";
// Kept for compatibility: the caption ends in two line feeds.
inline constexpr char kMessageBoxCaption[] = "DHCP migration tool\n\n";

inline constexpr char kDefaultClientsFile[] = "ClientsInfo.csv";
inline constexpr char kDefaultScopesFile[] = "ScopesInfo.csv";
