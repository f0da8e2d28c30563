#include "tools/ribpolicy/views/Diff.h"

#include "RibText/JsonLinesWriter.h"
#include "RibText/TagNames.h"

namespace ribpolicy {

namespace {

using RibText::nodeTagOf;
using RibText::readablePath;
using RibText::readableValue;

using TreeNode = Rib::EngineModel::Node;
using Path = std::vector<Rib::PathEntry>;

std::size_t nodesWithValues(const TreeNode& node) {
  std::size_t n = node.values.empty() ? 0 : 1;
  for (const auto& [entry, child] : node.children) n += nodesWithValues(child);
  return n;
}

void added(const TreeNode& node, Path& path, std::vector<NodeChange>& out) {
  if (!node.meaningful()) return;
  if (!node.values.empty()) {
    NodeChange c;
    c.kind = NodeChange::Kind::added;
    c.path = path;
    for (const auto& [tag, value] : node.values) c.after.emplace(tag, value);
    out.push_back(std::move(c));
  }
  for (const auto& [entry, child] : node.children) {
    path.push_back(entry);
    added(child, path, out);
    path.pop_back();
  }
}

void removed(const TreeNode& node, const Path& path, std::vector<NodeChange>& out) {
  if (!node.meaningful()) return;
  NodeChange c;
  c.kind = NodeChange::Kind::removed;
  c.path = path;
  c.nodes = nodesWithValues(node);
  out.push_back(std::move(c));
}

void changedValues(const TreeNode& before, const TreeNode& after, const Path& path,
                   std::vector<NodeChange>& out) {
  NodeChange c;
  c.kind = NodeChange::Kind::changed;
  c.path = path;
  for (const auto& [tag, value] : before.values) {
    const auto it = after.values.find(tag);
    if (it == after.values.end() || !((*it).data == value)) c.before.emplace(tag, value);
  }
  for (const auto& [tag, value] : after.values) {
    const auto it = before.values.find(tag);
    if (it == before.values.end() || !((*it).data == value)) c.after.emplace(tag, value);
  }
  if (!c.before.empty() || !c.after.empty()) out.push_back(std::move(c));
}

// Both nodes are meaningful.
void compare(const TreeNode& before, const TreeNode& after, Path& path,
             std::vector<NodeChange>& out) {
  changedValues(before, after, path, out);
  // A merge of the two ordered child maps, so that the changes come in tree order.
  auto b = before.children.begin();
  auto a = after.children.begin();
  while (b != before.children.end() || a != after.children.end()) {
    const bool takeBefore =
        a == after.children.end() || (b != before.children.end() && b->first < a->first);
    const bool takeAfter =
        b == before.children.end() || (a != after.children.end() && a->first < b->first);
    if (takeBefore) {
      path.push_back(b->first);
      removed(b->second, path, out);
      ++b;
    } else if (takeAfter) {
      path.push_back(a->first);
      added(a->second, path, out);
      ++a;
    } else {
      path.push_back(a->first);
      const bool wasThere = b->second.meaningful();
      const bool isThere = a->second.meaningful();
      if (wasThere && isThere) {
        compare(b->second, a->second, path, out);
      } else if (wasThere) {
        removed(b->second, path, out);
      } else {
        added(a->second, path, out);
      }
      ++a;
      ++b;
    }
    path.pop_back();
  }
}

std::string valuesText(const std::map<U32, Rib::ValueData>& values, U32 node,
                       TextWriter::Form form) {
  std::string out = "{";
  for (const auto& [tag, data] : values) {
    if (out.size() > 1) out += ' ';
    const Rib::TaggedValue v{tag, data};
    out += form == TextWriter::Form::numeric ? Rib::valueText(v) : readableValue(node, v);
  }
  return out + '}';
}

void writeValues(RibText::JsonWriter& w, const std::map<U32, Rib::ValueData>& values, U32 node,
                 RibText::Tags tags) {
  w.open('[');
  for (const auto& [tag, data] : values) RibText::writeTaggedValue(w.item(), node, tag, data, tags);
  w.close(']');
}

}  // namespace

std::vector<NodeChange> engineDiff(const TreeNode& before, const TreeNode& after) {
  std::vector<NodeChange> out;
  Path path;
  const bool wasThere = before.meaningful();
  const bool isThere = after.meaningful();
  if (wasThere && isThere) {
    compare(before, after, path, out);
  } else if (wasThere) {
    removed(before, path, out);
  } else {
    added(after, path, out);
  }
  return out;
}

std::string diffLine(const NodeChange& change, TextWriter::Form form) {
  const bool numeric = form == TextWriter::Form::numeric;
  std::string path = numeric ? Rib::pathText(change.path) : readablePath(change.path);
  if (path.empty()) path = "(root)";
  path += path.size() < TextWriter::kPathWidth
              ? std::string(TextWriter::kPathWidth - path.size(), ' ')
              : " ";
  const U32 node = nodeTagOf(change.path);
  switch (change.kind) {
    case NodeChange::Kind::added:
      return "  +  " + path + valuesText(change.after, node, form);
    case NodeChange::Kind::removed:
      return "  -  " + path + '(' + std::to_string(change.nodes) +
             (change.nodes == 1 ? " node)" : " nodes)");
    case NodeChange::Kind::changed:
      return "  ~  " + path + valuesText(change.before, node, form) + " -> " +
             valuesText(change.after, node, form);
  }
  return {};
}

std::string diffJson(const std::vector<NodeChange>& changes) {
  RibText::JsonWriter w;
  writeDiff(w, changes);
  return w.take();
}

void writeDiff(RibText::JsonWriter& w, const std::vector<NodeChange>& changes, RibText::Tags tags) {
  w.open('[');
  for (const NodeChange& c : changes) {
    const U32 node = nodeTagOf(c.path);
    w.item().open('{');
    switch (c.kind) {
      case NodeChange::Kind::added:
        RibText::writePath(w.member("added"), c.path, tags);
        writeValues(w.member("values"), c.after, node, tags);
        break;
      case NodeChange::Kind::removed:
        RibText::writePath(w.member("removed"), c.path, tags);
        w.member("nodes").number(c.nodes);
        break;
      case NodeChange::Kind::changed:
        RibText::writePath(w.member("changed"), c.path, tags);
        writeValues(w.member("before"), c.before, node, tags);
        writeValues(w.member("after"), c.after, node, tags);
        break;
    }
    w.close('}');
  }
  w.close(']');
}

std::string differenceLine(const Rib::EngineModel::Difference& d, TextWriter::Form form) {
  using Where = Rib::EngineModel::Difference::Where;
  if (form == TextWriter::Form::numeric) return Rib::EngineModel::differenceText(d);
  const U32 node = nodeTagOf(d.path);
  const auto values = [&](const std::vector<Rib::TaggedValue>& side) {
    std::string out = "{";
    for (const Rib::TaggedValue& v : side) {
      if (out.size() > 1) out += ' ';
      out += readableValue(node, v);
    }
    return out + '}';
  };
  switch (d.where) {
    case Where::onlyLeft:
      return "only in left: " + readablePath(d.path);
    case Where::onlyRight:
      return "only in right: " + readablePath(d.path);
    case Where::valuesDiffer:
      return "values differ at " + readablePath(d.path) + ": " + values(d.left) + " vs " +
             values(d.right);
  }
  return {};
}

}  // namespace ribpolicy
