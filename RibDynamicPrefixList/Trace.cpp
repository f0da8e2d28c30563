#include "RibDynamicPrefixList/Trace.h"

namespace RibDynamicPrefixList {

const Vox::TraceHandle dynPfxTraceHandle("RibDynamicPrefixList", false);

}  // namespace RibDynamicPrefixList
