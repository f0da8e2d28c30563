// The library as a host uses it: the one header to include.
//
// It gives the root and its factory (Root.h) with the inputs as one value, VrfInputs, set in
// one call; the configuration entities the host fills and changes; the engine's operations
// and the sink interface they reach the engine through, with the ready sinks (a recorder, a
// model of the engine's committed tree, a counter, a tee, a discarding sink); and the switch of
// the library's tracing. docs/host.md tells what each change of the configuration sends. The
// state machines stay inside the library.
#pragma once

#if __cplusplus < 202002L
#error "ribpolicy needs C++20: compile with -std=c++20 (pkg-config --cflags ribpolicy gives it)"
#endif

#include "RibRouteMap/root/Root.h"
#include "framework/config/AclListConfig.h"
#include "framework/config/AclTypes.h"
#include "framework/config/DynamicPrefixListConfig.h"
#include "framework/config/PolicyMap.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/rib/EngineModel.h"
#include "framework/rib/Mio.h"
#include "framework/rib/MioSink.h"
#include "framework/vox/Ptr.h"
#include "framework/vox/Trace.h"
