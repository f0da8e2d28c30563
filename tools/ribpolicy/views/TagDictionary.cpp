#include "tools/ribpolicy/views/TagDictionary.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "RibText/JsonWriter.h"
#include "RibText/TagNames.h"

namespace ribpolicy {

namespace {

using Vox::U32;
using Names = std::map<U32, std::string_view>;

Names byTag(const std::vector<RibText::TagName>& names) {
  Names out;
  for (const RibText::TagName& n : names) out.emplace(n.tag, n.name);
  return out;
}

// The value tags by their node, the nodes in numeric order.
std::map<U32, Names> valuesByNode() {
  std::map<U32, Names> out;
  for (const RibText::TagName& n : RibText::valueTagNames()) out[n.node].emplace(n.tag, n.name);
  return out;
}

void writeNames(RibText::JsonWriter& w, const Names& names) {
  w.open('{');
  for (const auto& [tag, name] : names) w.member(std::to_string(tag)).string(name);
  w.close('}');
}

}  // namespace

void writeTagDictionary(std::ostream& out, bool json) {
  const Names paths = byTag(RibText::pathTagNames());
  const Names scalars = byTag(RibText::scalarTagNames());
  const std::map<U32, Names> values = valuesByNode();
  if (json) {
    RibText::JsonWriter w;
    w.open('{');
    writeNames(w.member("paths"), paths);
    w.member("values").open('{');
    for (const auto& [node, names] : values) writeNames(w.member(std::to_string(node)), names);
    w.close('}');
    writeNames(w.member("scalars"), scalars);
    w.close('}');
    out << w.text() << '\n';
    return;
  }
  for (const auto& [tag, name] : paths) out << "path " << tag << ' ' << name << '\n';
  for (const auto& [node, names] : values) {
    const auto nodeName = RibText::pathTagName(node);
    for (const auto& [tag, name] : names) {
      out << "value " << node << ' ' << (nodeName ? *nodeName : std::string_view("?")) << ' ' << tag
          << ' ' << name << '\n';
    }
  }
  for (const auto& [tag, name] : scalars) out << "scalar " << tag << ' ' << name << '\n';
}

}  // namespace ribpolicy
