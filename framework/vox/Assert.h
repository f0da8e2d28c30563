// The library's assertions, which stay on in release builds.
//
// VOX_ASSERT names the failed expression; VOX_ASSERT_MSG names `what` instead, for a check
// whose expression is not the text the failure must show (an unreachable branch asserts false
// with the condition it stands for). Both end the process through Vox::assertionFailed. They
// are for the library's own code: the headers a host includes spell their few checks out, so
// that no macro of the library reaches a host.
#pragma once

#include "framework/vox/Fatal.h"

#define VOX_ASSERT(expr) ((expr) ? static_cast<void>(0) : ::Vox::assertionFailed(#expr))
#define VOX_ASSERT_MSG(expr, what) ((expr) ? static_cast<void>(0) : ::Vox::assertionFailed(what))
