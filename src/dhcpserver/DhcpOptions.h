// The DHCP options (RFC 2132) that this tool sets on a scope.
#pragma once

#include <cstdint>

inline constexpr std::uint32_t kOptionRouter = 3;
inline constexpr std::uint32_t kOptionLeaseTime = 51;

/// Lease time of scopes and clients without -d: 8 days, in seconds.
inline constexpr std::uint32_t kDefaultLeaseSeconds = 691200;
