// The common part of the route-map library's command channel: paths, value lists, operations,
// execution and commit, and the check that a channel serves the root's VRF.
//
// A command builds its path (from the policy root), its value list and its named operation
// afresh, executes each operation once as soon as it is built, and keeps nothing. The commands
// of each kind of policy object are declared beside that kind's state machine, in a class over
// this one (MioRouteMap, MioPrefixList, ...), and Mio (Mio.h) gathers them into the one channel
// that the state machines use. Commands do not commit unless stated; the handler that made a
// change commits once at its end.
#pragma once

#include <string_view>

#include "framework/l3/VrfName.h"
#include "framework/rib/Mio.h"
#include "framework/vox/Ptr.h"
#include "framework/vox/Types.h"

namespace RibRouteMap {

using RibPath = Vox::Ptr<Rib::MioTagArray>;
using RibValue = Vox::Ptr<Rib::MioValueTagArray>;
using RibOp = Vox::Ptr<Rib::MioOp>;

class MioChannel : public Vox::PtrInterface {
 public:
  using String = Vox::String;

  const L3::VrfName& vrfName() const { return vrfName_; }

  // --- Paths, values, operations --------------------------------------------------------
  // Begins a path with `tag`; the root's VRF must be this channel's VRF.
  RibPath ribPathIs(U32 tag) const;
  // 512, 576 = map, 577, 578 = sequence.
  RibPath ribMapSeqPathIs(std::string_view mapName, U32 seqno) const;
  // ribMapSeqPathIs then 601: the set-action node of a sequence.
  RibPath ribSetPathIs(std::string_view mapName, U32 seqno) const;
  RibValue ribValueIs() const;
  RibOp ribOpIs(std::string_view opName, const RibPath& path) const;
  // The common tail of every command: name the operation, attach the values (if any), set
  // the delete flag for a removal, execute.
  void ribExecute(std::string_view opName, const RibPath& path, const RibValue& values,
                  bool del = false) const;

  // --- Commit ---------------------------------------------------------------------------
  void doCommit() const;
  // A commit made through a delete of an AS-path list that never exists.
  void doSyncCommit() const;

 protected:
  // The kinds' command classes share the one channel of the Mio that gathers them, which
  // names the VRF.
  MioChannel() = default;
  // `rootVrfDiffers`: the library's root serves another VRF, so that every path of this
  // channel is refused.
  MioChannel(L3::VrfName vrfName, bool rootVrfDiffers)
      : vrfName_(std::move(vrfName)), rootVrfDiffers_(rootVrfDiffers) {}
  ~MioChannel() override = default;

  // The trace and the root check with which ribPathIs begins every path; a batch that shares
  // one path runs them once per entry, as separate paths would.
  void ribPathChecked() const;

 private:
  L3::VrfName vrfName_;
  bool rootVrfDiffers_ = false;
};

}  // namespace RibRouteMap
