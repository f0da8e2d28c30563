// The prefix lists of the filter-list state machine: the reactor of one list of either family.
//
// The configuration announces a finished batch of entry changes with a new version of the
// list, so a list's reactor only marks the entries that change and sends the marked ones
// when the version changes. The list level (a list that appears or goes) is the filter-list
// state machine's handlePrefixList and handleIpv6PrefixList, defined with this reactor.
#pragma once

#include <string>
#include <vector>

#include "RibRouteMap/filterlist/AclListConfigSm.h"
#include "RibRouteMap/mio/Mio.h"
#include "framework/config/AclListConfig.h"
#include "framework/vox/Reactor.h"

namespace RibRouteMap {

// The reactor of one prefix list of either family (`List` is Acl::PrefixList or
// Acl::Ipv6PrefixList): the two share their rhythm and differ only in the engine commands.
template <class List>
class AclListConfigSm::VoxPrefixListOf : public Vox::ReactorOn<List> {
 public:
  using ListPtr = Vox::Ptr<List const>;
  VoxPrefixListOf(const ListPtr& list, AclListConfigSm* sm);

  const std::string& name() const { return name_; }
  // The entries changed since the last version was applied, in notification order.
  const std::vector<U32>& modifiedSeqNum() const { return modifiedSeqNum_; }

  void onEntry(U32 seqno) override;
  void onVersion() override;

  void handlePrefixEntry(U32 seqno);
  void handlePrefixListVersion();

 protected:
  // A new entity under the same name is sent as at creation, so that none of its entries is
  // missed; entries marked for the old one still go (as deletes when the new one lacks them).
  void onRetarget() override;

 private:
  // Sends every entry of the list as it stands, and the marked entries it lacks, then commits.
  void sendWhole();
  // Sends one entry as configured now: an add, or a delete when it is gone.
  void sendEntry(const Mio& mio, U32 seqno);

  AclListConfigSm* sm_;
  std::string name_;
  std::vector<U32> modifiedSeqNum_;
};

}  // namespace RibRouteMap
