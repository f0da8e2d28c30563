// Scalar and string types of the type framework.
//
// The framework's strings and name keys are plain byte strings: configured names are sent to
// the engine as they stand, and the library's own names are built by concatenation.
#pragma once

#include <cstdint>
#include <string>

using U8 = std::uint8_t;
using U32 = std::uint32_t;
using S64 = std::int64_t;

namespace Vox {

using String = std::string;
// A name key of a collection. Kept distinct in spelling so that a key reads as a key.
using Name = std::string;

}  // namespace Vox
