#include <string>
#include <string_view>
#include <utility>

#include "framework/rib/MioSink.h"

namespace Rib {

namespace {

using Node = EngineModel::Node;

// An add overwrites whatever the engine held for its node; any other set merges into it.
bool replacesValues(std::string_view opName) {
  return opName.starts_with("add") || opName.starts_with("doAdd");
}

bool sameValues(const Node& a, const Node& b) {
  return a.values == b.values;
}

// The values of the tags whose values differ, as "{2:u32=24 5:str=\"x\"}", one side at a time.
std::string differingValuesText(const Node& self, const Node& other) {
  std::string out = "{";
  bool first = true;
  for (const auto& [tag, data] : self.values) {
    auto it = other.values.find(tag);
    if (it != other.values.end() && it->second == data) continue;
    if (!first) out += ' ';
    first = false;
    out += valueText(TaggedValue{tag, data});
  }
  out += '}';
  return out;
}

void collectDifferences(const Node& left, const Node& right, std::vector<PathEntry>& path,
                        std::vector<std::string>& out) {
  if (!sameValues(left, right)) {
    out.push_back("values differ at " + pathText(path) + ": " + differingValuesText(left, right) +
                  " vs " + differingValuesText(right, left));
  }
  // Both child maps are ordered by the same key, so one merged pass visits tree order.
  auto l = left.children.begin();
  auto r = right.children.begin();
  while (l != left.children.end() || r != right.children.end()) {
    const bool takeLeft =
        r == right.children.end() || (l != left.children.end() && l->first < r->first);
    const bool takeRight =
        l == left.children.end() || (r != right.children.end() && r->first < l->first);
    if (takeLeft) {
      if (l->second.meaningful()) {
        path.push_back(l->first);
        out.push_back("only in left: " + pathText(path));
        path.pop_back();
      }
      ++l;
    } else if (takeRight) {
      if (r->second.meaningful()) {
        path.push_back(r->first);
        out.push_back("only in right: " + pathText(path));
        path.pop_back();
      }
      ++r;
    } else {
      // A node without meaning on one side counts as absent there.
      const bool lm = l->second.meaningful();
      const bool rm = r->second.meaningful();
      path.push_back(l->first);
      if (lm && rm) {
        collectDifferences(l->second, r->second, path, out);
      } else if (lm) {
        out.push_back("only in left: " + pathText(path));
      } else if (rm) {
        out.push_back("only in right: " + pathText(path));
      }
      path.pop_back();
      ++l;
      ++r;
    }
  }
}

}  // namespace

bool EngineModel::Node::meaningful() const {
  if (!values.empty()) return true;
  for (const auto& [entry, child] : children) {
    if (child.meaningful()) return true;
  }
  return false;
}

void EngineModel::execute(const MioOp& op) {
  staged_.push_back(OpRecord::of(op));
}

// Both kinds of commit take everything executed so far: the sync commit differs only in how
// it reaches the engine.
void EngineModel::commit(CommitKind /*kind*/) {
  for (const OpRecord& op : staged_) apply(root_, op);
  staged_.clear();
}

void EngineModel::apply(Node& root, const OpRecord& op) {
  if (op.del) {
    if (op.path.empty()) {
      root = Node{};
      return;
    }
    Node* parent = &root;
    for (std::size_t i = 0; i + 1 < op.path.size(); ++i) {
      auto it = parent->children.find(op.path[i]);
      if (it == parent->children.end()) return;
      parent = &it->second;
    }
    parent->children.erase(op.path.back());
    return;
  }
  Node* node = &root;
  for (const PathEntry& e : op.path) node = &node->children[e];
  if (replacesValues(op.name)) node->values.clear();
  for (const TaggedValue& v : op.values) {
    if (std::holds_alternative<Reset>(v.data)) {
      node->values.erase(v.tag);
    } else {
      node->values[v.tag] = v.data;
    }
  }
  for (const OpScalar& s : op.scalars) {
    node->values[s.tag] = ValueData(std::in_place_type<U32>, s.value);
  }
}

bool EngineModel::equivalent(const Node& a, const Node& b) {
  if (!sameValues(a, b)) return false;
  auto l = a.children.begin();
  auto r = b.children.begin();
  while (l != a.children.end() || r != b.children.end()) {
    if (r == b.children.end() || (l != a.children.end() && l->first < r->first)) {
      if (l->second.meaningful()) return false;
      ++l;
    } else if (l == a.children.end() || r->first < l->first) {
      if (r->second.meaningful()) return false;
      ++r;
    } else {
      const bool lm = l->second.meaningful();
      const bool rm = r->second.meaningful();
      if (lm != rm) return false;
      if (lm && !equivalent(l->second, r->second)) return false;
      ++l;
      ++r;
    }
  }
  return true;
}

std::vector<std::string> EngineModel::differences(const Node& left, const Node& right) {
  std::vector<std::string> out;
  std::vector<PathEntry> path;
  collectDifferences(left, right, path, out);
  return out;
}

}  // namespace Rib
