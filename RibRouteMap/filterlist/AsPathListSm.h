// The AS-path access lists of the filter-list state machine: the reactor of one list, and the
// validity of an entry in the VRF's regular-expression dialect.
//
// Entries are sent as they change and committed when the list's version changes; a list with
// an entry that is not valid in the current dialect stays defined but empty. The list level and
// the dialect are the filter-list state machine's handlePathList and handleRegexMode, defined
// with this reactor.
#pragma once

#include <map>
#include <string>

#include "RibRouteMap/filterlist/AclListConfigSm.h"
#include "RibRouteMap/mio/Mio.h"
#include "framework/config/AclListConfig.h"
#include "framework/vox/Reactor.h"

namespace RibRouteMap {

// Whether `entry`'s expression is valid in dialect `mode`; no entry is valid in a dialect
// other than 0 and 1.
bool aspathEntryValidRegex(const Acl::AsPathEntry& entry, Acl::RegexMode mode);

class AclListConfigSm::VoxPathList : public Vox::ReactorOn<Acl::AsPathList> {
 public:
  VoxPathList(const PathListPtr& list, AclListConfigSm* sm);

  const std::string& name() const { return name_; }
  // The entries known to be invalid in the current dialect; the list is active (its
  // entries are in the engine) exactly when this is empty.
  const std::map<U32, bool>& inapplicableSeqno() const { return inapplicableSeqno_; }
  bool active() const { return inapplicableSeqno_.empty(); }

  void onPathEntry(U32 seqno) override;
  void onVersion() override;

  void handlePathEntry(U32 seqno);
  void handleAsPathListVersion();
  // Adds the list again and, when every entry is valid in the current dialect, its entries.
  // No commit: the caller commits.
  void reevaluatePathList();
  void doAddPathListEntriesToEngine();
  void doDelPathListEntriesFromEngine();

 protected:
  void onRetarget() override;

 private:
  AclListConfigSm* sm_;
  std::string name_;
  std::map<U32, bool> inapplicableSeqno_;
};

}  // namespace RibRouteMap
