// The text of the operation stream, as a host uses it: the one header to include beside
// RibRouteMap/Host.h, with the target ribpolicy::text (pkg-config ribpolicy-text).
//
// It gives the printer of named tags and values (TagNames.h: readable paths, values and whole
// operations, communities in their usual forms, packed AS paths as AS numbers) and the sink that
// writes the stream as JSON lines (JsonLinesWriter.h), for another program to read, with the
// streaming JSON writer it is made with (JsonWriter.h).
#pragma once

#if __cplusplus < 202002L
#error "ribpolicy needs C++20: compile with -std=c++20 (pkg-config --cflags ribpolicy gives it)"
#endif

#include "RibText/JsonLinesWriter.h"
#include "RibText/JsonWriter.h"
#include "RibText/TagNames.h"
