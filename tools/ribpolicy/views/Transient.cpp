#include "tools/ribpolicy/views/Transient.h"

#include <algorithm>
#include <set>
#include <utility>

#include "RibText/JsonLinesWriter.h"
#include "RibText/TagNames.h"

namespace ribpolicy {

namespace {

using TreeNode = Rib::EngineModel::Node;
using Path = std::vector<Rib::PathEntry>;

// The node at `path`, or null.
const TreeNode* find(const TreeNode& root, const Path& path) {
  const TreeNode* at = &root;
  for (const Rib::PathEntry& entry : path) {
    const auto it = at->children.find(entry);
    if (it == at->children.end()) return nullptr;
    at = &it->second;
  }
  return at;
}

bool present(const TreeNode* n) {
  return n && n->meaningful();
}

bool same(const TreeNode* a, const TreeNode* b) {
  if (!present(a) || !present(b)) return present(a) == present(b);
  return Rib::EngineModel::equivalent(*a, *b);
}

// "absent between commits 1 and 2 of 3", "partial between commits 1 and 2, 4 and 6 of 7".
std::string commitsText(const TransientObject& o) {
  std::string out = o.absent ? "absent between commits" : "partial between commits";
  for (std::size_t i = 0; i < o.windows.size(); ++i) {
    out += (i == 0 ? " " : ", ") + std::to_string(o.windows[i].first) + " and " +
           std::to_string(o.windows[i].second);
  }
  return out + " of " + std::to_string(o.of);
}

}  // namespace

void TransientWatch::execute(const Rib::MioOp& op) {
  Path path = Rib::OpRecord::of(op).path;
  const auto key = std::find_if(path.begin(), path.end(), [](const Rib::PathEntry& e) {
    return e.kind != Rib::PathEntry::Kind::none;
  });
  if (key != path.end()) path.erase(std::next(key), path.end());
  touched_.push_back(std::move(path));
}

void TransientWatch::commit(Rib::CommitKind) {
  auto& copies = commits_.emplace_back();
  for (Path& path : touched_) {
    if (copies.count(path) || !before_ || !present(find(*before_, path))) continue;
    const TreeNode* now = find(model_.committed(), path);
    copies.emplace(std::move(path), present(now) ? std::optional<TreeNode>(*now) : std::nullopt);
  }
  touched_.clear();
}

std::vector<TransientObject> TransientWatch::stepDone() {
  if (!before_) return {};
  const TreeNode& before = *before_;
  before_ = nullptr;
  std::map<Path, TransientObject> found;
  const std::size_t of = commits_.size();
  // The last commit leaves the step's own result, so a window opens at an earlier one.
  std::set<Path> candidates;
  for (std::size_t i = 0; i + 1 < of; ++i) {
    for (const auto& [path, copy] : commits_[i]) candidates.insert(path);
  }
  for (const Path& path : candidates) {
    const TreeNode* was = find(before, path);
    const TreeNode* is = find(model_.committed(), path);
    if (!present(was) || !present(is)) continue;
    TransientObject o{path, false, {}, of};
    std::optional<std::size_t> opened;  // the commit after which it went wrong
    for (std::size_t i = 0; i < of; ++i) {
      const auto at = commits_[i].find(path);
      if (at == commits_[i].end()) continue;  // unchanged by this commit
      const TreeNode* then = at->second ? &*at->second : nullptr;
      const bool wrong = !same(then, was) && !same(then, is);
      if (wrong && !opened) opened = i + 1;
      if (!wrong && opened) {
        o.windows.emplace_back(*opened, i + 1);
        opened.reset();
      }
      o.absent = o.absent || (wrong && !present(then));
    }
    if (opened) o.windows.emplace_back(*opened, of);
    if (!o.windows.empty()) found.emplace(path, std::move(o));
  }
  commits_.clear();
  touched_.clear();
  std::vector<TransientObject> out;
  out.reserve(found.size());
  for (auto& [path, o] : found) out.push_back(std::move(o));
  return out;
}

std::string transientLine(const TransientObject& o, TextWriter::Form form) {
  std::string path =
      form == TextWriter::Form::numeric ? Rib::pathText(o.path) : RibText::readablePath(o.path);
  path += path.size() < TextWriter::kPathWidth
              ? std::string(TextWriter::kPathWidth - path.size(), ' ')
              : " ";
  return "  !  " + path + commitsText(o);
}

std::string transientMessage(const TransientObject& o) {
  return "the step leaves " + RibText::readablePath(o.path) + ' ' + commitsText(o) +
         (o.absent ? ": the engine holds no such object in between"
                   : ": the engine holds it neither as before nor as after in between");
}

void writeTransient(RibText::JsonWriter& w, const std::vector<TransientObject>& objects) {
  w.open('[');
  for (const TransientObject& o : objects) {
    w.item().open('{');
    RibText::writePath(w.member("path"), o.path);
    w.member(o.absent ? "absent" : "partial").open('[');
    for (const auto& [from, to] : o.windows) {
      w.item().open('[');
      w.item().number(from);
      w.item().number(to);
      w.close(']');
    }
    w.close(']');
    w.member("commits").number(o.of);
    w.close('}');
  }
  w.close(']');
}

}  // namespace ribpolicy
