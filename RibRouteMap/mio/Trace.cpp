#include "RibRouteMap/mio/Trace.h"

namespace RibRouteMap {

const Vox::TraceHandle routeMapTraceHandle("RouteMap", false);

}  // namespace RibRouteMap
