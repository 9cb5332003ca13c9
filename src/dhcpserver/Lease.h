#pragma once

#include <cstdint>

/// Lease given to scopes and clients unless the command line says otherwise: 8 days, in seconds.
inline constexpr std::uint32_t kDefaultLeaseSeconds = 691200;
