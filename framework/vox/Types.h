// Scalar and string types of the type framework.
//
// The framework's strings and name keys are plain byte strings: configured names are sent to
// the engine as they stand, and the library's own names are built by concatenation.
//
// The integer names belong to the framework's namespace, and each of the library's namespaces
// takes them in, so that the library writes `U32` while a host's own namespace stays free of
// them.
#pragma once

#include <cstdint>
#include <string>

namespace Vox {

using U8 = std::uint8_t;
using U32 = std::uint32_t;
using S64 = std::int64_t;

using String = std::string;
// A name key of a collection. Kept distinct in spelling so that a key reads as a key.
using Name = std::string;

}  // namespace Vox

// The library's own namespaces, each with the framework's integers.
namespace Rib {
using Vox::S64;
using Vox::U32;
using Vox::U8;
}  // namespace Rib

namespace Vela {
using Vox::S64;
using Vox::U32;
using Vox::U8;
}  // namespace Vela

namespace L3 {
using Vox::S64;
using Vox::U32;
using Vox::U8;
}  // namespace L3

namespace Acl {
using Vox::S64;
using Vox::U32;
using Vox::U8;
}  // namespace Acl

namespace Routing::RouteMap {
using Vox::S64;
using Vox::U32;
using Vox::U8;
}  // namespace Routing::RouteMap

namespace Routing::DynamicPrefixList {
using Vox::S64;
using Vox::U32;
using Vox::U8;
}  // namespace Routing::DynamicPrefixList

namespace RoutingPolicyMap {
using Vox::S64;
using Vox::U32;
using Vox::U8;
}  // namespace RoutingPolicyMap

namespace RibRouteMap {
using Vox::S64;
using Vox::U32;
using Vox::U8;
}  // namespace RibRouteMap

namespace RibDynamicPrefixList {
using Vox::S64;
using Vox::U32;
using Vox::U8;
}  // namespace RibDynamicPrefixList

namespace RibText {
using Vox::S64;
using Vox::U32;
using Vox::U8;
}  // namespace RibText
