// The dynamic-prefix-list command channel to the routing engine.
//
// Unlike the route-map channel it is not tied to a VRF: its paths begin directly at the
// dynamic-prefix-list node (512, 627), without the VRF check, so it holds no state at all and
// `mioFactory()` may be called wherever a command is needed. Each command executes its
// operations as soon as they are built and then commits by itself, since a list is always
// written or removed as a whole.
#pragma once

#include <string_view>

#include "framework/rib/Mio.h"
#include "framework/vox/Ptr.h"
#include "framework/vox/Types.h"

namespace RibDynamicPrefixList {

using RibPath = Vox::Ptr<Rib::MioTagArray>;
using RibValue = Vox::Ptr<Rib::MioValueTagArray>;

class Mio : public Vox::PtrInterface {
 public:
  using String = Vox::String;

  // A new path 512, 627: the node that holds every dynamic prefix list.
  RibPath mioPath() const;

  // Writes the list `name`: "addDynamicPrefixList", then each prefix-list name that is set,
  // then its match map (also when empty, so that a cleared match map reaches the engine);
  // commits.
  void doAddDynamicPrefixListEntry(const String& name, const String& ipv4PrefixList,
                                   const String& ipv6PrefixList, const String& matchMap) const;
  // Deletes the list `name` from the engine; commits.
  void doDelDynamicPrefixList(const String& name) const;

 private:
  // Names the operation on the list `name`, attaches `values` (if any), sets the delete flag
  // for a removal and executes.
  void execute(std::string_view opName, const String& name, const RibValue& values,
               bool del = false) const;
};

// A null allocation is the framework's range error.
Vox::Ptr<Mio> mioFactory();

}  // namespace RibDynamicPrefixList
