// The DHCP options that a scope is given (RFC 2132).
#pragma once

#include "dhcpserver/DhcpApi.h"

inline constexpr DHCP_OPTION_ID kOptionRouter = 3;
inline constexpr DHCP_OPTION_ID kOptionLeaseTime = 51;
