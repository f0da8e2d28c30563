// Enumerations and value types of the access-list configuration shared by route maps,
// filter lists and community lists.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "framework/vox/Types.h"

namespace Acl {

// 0 is permit, 1 is deny; other values are carried as they are.
enum MatchPermit : U32 { permit = 0, deny = 1 };

// Which of a route-map entry's community clauses a set belongs to and how it applies.
enum CommSetFlag : U32 {
  commSetNone_ = 0,
  commSetDelete_ = 1,
  commSetAdditive_ = 2,
  commSetReplace_ = 3,
};
// Text forms "commSetNone", "commSetDelete", "commSetAdditive", "commSetReplace"; another
// value prints as its number.
std::string valueToStrep(CommSetFlag f);
// Parses a text form (or a number); nothing for anything else.
std::optional<CommSetFlag> sequenceToValue(std::string_view text);

enum CommunityType : U32 { communityStandard = 0, communityExtended = 1, communityLarge = 2 };

// Kind and form of a community-list entry: three kinds, each by values or by expression.
enum CommunityListType : U32 {
  standardValues = 0,
  standardRegex = 1,
  extendedValues = 2,
  extendedRegex = 3,
  largeValues = 4,
  largeRegex = 5,
};

// Link-bandwidth option of an extended-community set clause.
enum ExtCommLinkBandwidthSetFlag : U32 {
  lbwNone_ = 0,
  lbwAggregate_ = 1,
  lbwValue_ = 2,
  lbwDivideEqual_ = 3,
  lbwDivideRatio_ = 4,
};

// The regular-expression dialect of AS-path lists; 0 and 1 are the two dialects.
using RegexMode = U32;
// A BGP origin as configured; the meaning of each number is the user's (see the commands).
using BGPOrigin = U32;

enum AclType : U32 { aclTypeIp = 0 };

// One community value: standard (one 32-bit word), extended (two words, the upper word
// first) or large (three words). Ordered by kind, then by words.
struct CommunityValue {
  CommunityType kind = communityStandard;
  U32 words[3] = {0, 0, 0};

  static CommunityValue standard(U32 v) { return {communityStandard, {v, 0, 0}}; }
  static CommunityValue extended(std::uint64_t v) {
    return {communityExtended, {static_cast<U32>(v >> 32), static_cast<U32>(v), 0}};
  }
  static CommunityValue large(U32 global, U32 local1, U32 local2) {
    return {communityLarge, {global, local1, local2}};
  }
  std::uint64_t extendedValue() const {
    return (static_cast<std::uint64_t>(words[0]) << 32) | words[1];
  }
  // The number of 32-bit words the value takes in an engine array.
  U32 wordCount() const {
    return kind == communityStandard ? 1 : kind == communityExtended ? 2 : 3;
  }

  friend bool operator==(const CommunityValue& a, const CommunityValue& b) {
    return a.kind == b.kind && a.words[0] == b.words[0] && a.words[1] == b.words[1] &&
           a.words[2] == b.words[2];
  }
  friend bool operator<(const CommunityValue& a, const CommunityValue& b) {
    if (a.kind != b.kind) return a.kind < b.kind;
    for (int i = 0; i < 3; ++i) {
      if (a.words[i] != b.words[i]) return a.words[i] < b.words[i];
    }
    return false;
  }
};

}  // namespace Acl
