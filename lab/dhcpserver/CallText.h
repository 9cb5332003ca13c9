// The arguments of the server's calls as the journal shows them, " name=value" each; and what a
// careful caller would not have passed.
#pragma once

#include <string>
#include <vector>

#include "dhcpserver/DhcpApi.h"

namespace lab {

/// Any pointer may be null. A dotted address or host name is shown bare.
std::string ServerText(const WCHAR* server);
std::string SubnetInfoText(DWORD subnetAddress, const DHCP_SUBNET_INFO* info);
std::string ElementText(const DHCP_SUBNET_ELEMENT_DATA_V4* element);
std::string OptionScopeText(const DHCP_OPTION_SCOPE_INFO* scope);
std::string OptionValueText(const DHCP_OPTION_DATA* value);
std::string ClientInfoText(const DHCP_CLIENT_INFO_V4* info);

/// A value that the server takes although clients cannot use it; empty when there is no reason to
/// doubt it. The server compares no types itself.
std::string OptionWarning(DWORD optionId, const DHCP_OPTION_DATA* value);

}  // namespace lab
