// The tag dictionary the named views print with (RibText/TagNames.h), for people and programs
// that read the numeric JSON: every path tag with its name, every value tag with the node that
// defines it, and the global scalars.
//
//   text:  path 512 policy
//          value 601 set 1 origin
//          scalar 16 as-path-regex-mode
//   JSON:  {"paths":{"512":"policy",...},"values":{"601":{"1":"origin",...},...},
//           "scalars":{"16":"as-path-regex-mode",...}}
//
// Tags come in numeric order, values grouped by their node, so that two versions of the
// dictionary compare line by line.
#pragma once

#include <ostream>

namespace ribpolicy {

void writeTagDictionary(std::ostream& out, bool json);

}  // namespace ribpolicy
