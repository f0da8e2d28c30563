#include "tools/converge/Shrinker.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tools/ribpolicy/format/Format.h"

namespace converge {

namespace {

using ribpolicy::MapDef;
using ribpolicy::Scenario;
using ribpolicy::ScenarioConfig;
using Routing::RouteMap::SetClauses;
using Routing::RouteMap::SetFlagBit;

// Removes one part of a configuration; false when the configuration had none.
using Edit = std::function<bool(ScenarioConfig&)>;

template <class Def>
using Section = std::map<std::string, Def> ScenarioConfig::*;

class Shrinker {
 public:
  Shrinker(const Scenario& failing, const StillFails& stillFails, std::size_t maxTries)
      : best_(failing), stillFails_(stillFails), maxTries_(maxTries) {}

  Scenario run() {
    for (bool progress = true; progress && budget();) {
      progress = dropSteps();
      progress = ddmin(objectEdits()) || progress;
      progress = ddmin(entryEdits()) || progress;
      progress = ddmin(mapPartEdits()) || progress;
      progress = ddmin(otherEdits()) || progress;
      progress = attachInputs() || progress;
    }
    for (ribpolicy::Step& s : best_.steps) s.name.clear();
    return best_;
  }

 private:
  bool budget() const { return tries_ < maxTries_; }

  bool attempt(Scenario candidate) {
    if (!budget()) return false;
    ++tries_;
    if (!stillFails_(candidate)) return false;
    best_ = std::move(candidate);
    return true;
  }

  // Delta debugging over the steps: chunks of steps go, halving the chunks while none can.
  bool dropSteps() {
    bool any = false;
    for (std::size_t n = 2; best_.steps.size() > 1 && budget();) {
      const std::size_t size = best_.steps.size();
      n = std::min(n, size);
      const std::size_t chunk = (size + n - 1) / n;
      bool reduced = false;
      for (std::size_t start = 0; start < size && !reduced && budget(); start += chunk) {
        Scenario c = best_;
        const auto first = c.steps.begin() + static_cast<std::ptrdiff_t>(start);
        c.steps.erase(first, first + static_cast<std::ptrdiff_t>(std::min(chunk, size - start)));
        if (!c.steps.empty() && attempt(std::move(c))) reduced = true;
      }
      if (reduced) {
        any = true;
        n = std::max<std::size_t>(n - 1, 2);
      } else if (n >= size) {
        break;
      } else {
        n = std::min(size, n * 2);
      }
    }
    return any;
  }

  // Delta debugging over parts: a chunk of edits is applied to every step at once.
  bool ddmin(std::vector<Edit> items) {
    bool any = false;
    for (std::size_t n = 2; !items.empty() && budget();) {
      n = std::min(n, items.size());
      const std::size_t chunk = (items.size() + n - 1) / n;
      bool reduced = false;
      for (std::size_t start = 0; start < items.size() && !reduced && budget(); start += chunk) {
        const std::size_t end = std::min(start + chunk, items.size());
        Scenario c = best_;
        bool changed = false;
        for (ribpolicy::Step& s : c.steps) {
          for (std::size_t k = start; k < end; ++k) changed = items[k](s.config) || changed;
        }
        if (changed && attempt(std::move(c))) {
          items.erase(items.begin() + static_cast<std::ptrdiff_t>(start),
                      items.begin() + static_cast<std::ptrdiff_t>(end));
          reduced = true;
        }
      }
      if (reduced) {
        any = true;
        n = std::max<std::size_t>(n - 1, 2);
      } else if (n >= items.size()) {
        break;
      } else {
        n = std::min(items.size(), n * 2);
      }
    }
    return any;
  }

  // Every name of a section that some step configures.
  template <class Def>
  std::set<std::string> namesOf(Section<Def> section) const {
    std::set<std::string> out;
    for (const ribpolicy::Step& s : best_.steps) {
      for (const auto& [name, def] : s.config.*section) out.insert(name);
    }
    return out;
  }

  template <class Def>
  void removeObjects(std::vector<Edit>& out, Section<Def> section) const {
    for (const std::string& name : namesOf(section)) {
      out.push_back([section, name](ScenarioConfig& c) { return (c.*section).erase(name) > 0; });
    }
  }

  std::vector<Edit> objectEdits() const {
    std::vector<Edit> out;
    ribpolicy::forEachSection([&](const auto& section) { removeObjects(out, section.member); });
    return out;
  }

  // Every (name, sequence) of a section's entries that some step configures.
  template <class Def>
  std::set<std::pair<std::string, U32>> entriesOf(Section<Def> section) const {
    std::set<std::pair<std::string, U32>> out;
    for (const ribpolicy::Step& s : best_.steps) {
      for (const auto& [name, def] : s.config.*section) {
        for (const auto& [seq, e] : def.entries) out.emplace(name, seq);
      }
    }
    return out;
  }

  // An edit of one entry wherever it is configured.
  template <class Def>
  static Edit onEntry(Section<Def> section, const std::string& name, U32 seq,
                      std::function<bool(ribpolicy::EntryOf<Def>&)> edit) {
    return [section, name, seq, edit](ScenarioConfig& c) {
      auto def = (c.*section).find(name);
      if (def == (c.*section).end()) return false;
      auto entry = def->second.entries.find(seq);
      return entry != def->second.entries.end() && edit(entry->second);
    };
  }

  std::vector<Edit> entryEdits() const {
    std::vector<Edit> out;
    ribpolicy::forEachSection([&](const auto& section) {
      using Def = typename std::decay_t<decltype(section)>::Definition;
      if constexpr (ribpolicy::EntryDefinition<Def>) {
        for (const auto& [name, seq] : entriesOf(section.member)) {
          out.push_back([member = section.member, name = name, seq = seq](ScenarioConfig& c) {
            auto it = (c.*member).find(name);
            return it != (c.*member).end() && it->second.entries.erase(seq) > 0;
          });
        }
      }
    });
    return out;
  }

  void removeMapParts(std::vector<Edit>& out, Section<MapDef> section) const {
    for (const auto& [name, seq] : entriesOf(section)) {
      std::set<U32> options;
      U32 bits = 0;
      for (const ribpolicy::Step& s : best_.steps) {
        auto map = (s.config.*section).find(name);
        if (map == (s.config.*section).end() || !map->second.entries.contains(seq)) continue;
        const ribpolicy::MapEntryDef& e = map->second.entries.at(seq);
        for (const auto& [option, rule] : e.match) options.insert(option);
        bits |= e.set.flags;
      }
      for (U32 option : options) {
        out.push_back(onEntry(section, name, seq, [option](ribpolicy::MapEntryDef& e) {
          return e.match.erase(option) > 0;
        }));
      }
      for (const ribpolicy::SetClauseRow& row : ribpolicy::kSetClauses) {
        const SetFlagBit bit = row.bit;
        if (!((bits >> bit) & 1u)) continue;
        out.push_back(onEntry(section, name, seq, [bit](ribpolicy::MapEntryDef& e) {
          if (!e.set.has(bit)) return false;
          e.set.copyClause(bit, SetClauses{});
          return true;
        }));
      }
      out.push_back(onEntry(section, name, seq, [](ribpolicy::MapEntryDef& e) {
        const bool had = !e.subRouteMap.empty();
        e.subRouteMap.clear();
        return had;
      }));
      out.push_back(onEntry(section, name, seq, [](ribpolicy::MapEntryDef& e) {
        const bool was = e.permit != Acl::permit;
        e.permit = Acl::permit;
        return was;
      }));
    }
  }

  std::vector<Edit> mapPartEdits() const {
    std::vector<Edit> out;
    ribpolicy::forEachSection([&](const auto& section) {
      using Def = typename std::decay_t<decltype(section)>::Definition;
      if constexpr (std::is_same_v<Def, MapDef>) removeMapParts(out, section.member);
    });
    return out;
  }

  // Explicit versions, of objects or of entries, wherever the section has them.
  template <class Def>
  void clearVersions(std::vector<Edit>& out, Section<Def> section) const {
    auto clear = [](auto& versioned) {
      return std::exchange(versioned.version, std::nullopt).has_value();
    };
    if constexpr (ribpolicy::VersionedDefinition<Def>) {
      for (const std::string& name : namesOf(section)) {
        out.push_back([section, name, clear](ScenarioConfig& c) {
          auto it = (c.*section).find(name);
          return it != (c.*section).end() && clear(it->second);
        });
      }
    } else if constexpr (ribpolicy::EntryDefinition<Def>) {
      if constexpr (ribpolicy::VersionedDefinition<ribpolicy::EntryOf<Def>>) {
        for (const auto& [name, seq] : entriesOf(section))
          out.push_back(onEntry(section, name, seq, clear));
      }
    }
  }

  // References, fields of dynamic prefix lists, explicit versions and modes.
  std::vector<Edit> otherEdits() const {
    std::vector<Edit> out;
    for (const ribpolicy::HeldNamesRow& held : ribpolicy::kPolicyMapLists) {
      std::set<std::string> names;
      for (const ribpolicy::Step& s : best_.steps) {
        names.insert((s.config.policyMap.*held.member).begin(),
                     (s.config.policyMap.*held.member).end());
      }
      for (const std::string& name : names) {
        out.push_back([member = held.member, name](ScenarioConfig& c) {
          return (c.policyMap.*member).erase(name) > 0;
        });
      }
    }
    for (const std::string& name : namesOf(&ScenarioConfig::dynamicPrefixLists)) {
      for (const ribpolicy::NameFieldRow& field : ribpolicy::kDynamicPrefixListFields) {
        out.push_back([name, member = field.member](ScenarioConfig& c) {
          auto it = c.dynamicPrefixLists.find(name);
          if (it == c.dynamicPrefixLists.end() || (it->second.*member).empty()) return false;
          (it->second.*member).clear();
          return true;
        });
      }
    }
    ribpolicy::forEachSection([&](const auto& section) { clearVersions(out, section.member); });
    for (const ribpolicy::ModeRow& mode : ribpolicy::kModes) {
      out.push_back(
          [member = mode.member](ScenarioConfig& c) { return std::exchange(c.*member, 0) != 0; });
    }
    return out;
  }

  // Every input attached, one step at a time.
  bool attachInputs() {
    bool any = false;
    for (std::size_t i = 0; i < best_.steps.size() && budget(); ++i) {
      if (best_.steps[i].inputs.complete()) continue;
      Scenario c = best_;
      c.steps[i].inputs = ribpolicy::InputSet::all();
      any = attempt(std::move(c)) || any;
    }
    return any;
  }

  Scenario best_;
  const StillFails& stillFails_;
  std::size_t maxTries_;
  std::size_t tries_ = 0;
};

}  // namespace

Scenario shrinkScenario(const Scenario& failing, const StillFails& stillFails,
                        std::size_t maxTries) {
  return Shrinker(failing, stillFails, maxTries).run();
}

}  // namespace converge
