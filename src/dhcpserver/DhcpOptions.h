// The DHCP options that a scope is given (RFC 2132).
#pragma once

#include <cstdint>

inline constexpr std::uint32_t kOptionRouter = 3;
inline constexpr std::uint32_t kOptionLeaseTime = 51;

/// The lease of scopes and clients unless the command line says otherwise: 8 days, in seconds.
inline constexpr std::uint32_t kDefaultLeaseSeconds = 691200;
