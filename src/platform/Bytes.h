#pragma once

#include <cstdint>
#include <vector>

/// Bytes as a file or a database holds them, without a meaning of their own.
using PDXBytes = std::vector<std::uint8_t>;
