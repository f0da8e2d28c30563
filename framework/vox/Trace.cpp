#include "framework/vox/TraceHandle.h"

#include <cstdlib>
#include <iostream>
#include <map>
#include <vector>

namespace Vox {
namespace {

struct Registry {
  std::map<std::string, int, std::less<>> levels;  // requested levels, by handle name
  std::vector<TraceHandle*> handles;
  std::ostream* out = nullptr;
  bool environmentRead = false;
};

Registry& registry() {
  static Registry r;
  return r;
}

bool parseLevels(std::string_view text, std::map<std::string, int, std::less<>>& into) {
  while (!text.empty()) {
    const auto comma = text.find(',');
    std::string_view item = text.substr(0, comma);
    text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
    if (item.empty()) continue;
    const auto eq = item.find('=');
    if (eq == std::string_view::npos || eq == 0 || eq + 1 == item.size()) return false;
    int level = 0;
    for (char c : item.substr(eq + 1)) {
      if (c < '0' || c > '9' || level > 100) return false;
      level = level * 10 + (c - '0');
    }
    into[std::string(item.substr(0, eq))] = level;
  }
  return true;
}

void readEnvironment() {
  Registry& r = registry();
  if (r.environmentRead) return;
  r.environmentRead = true;
  if (const char* env = std::getenv("RIBPOLICY_TRACE")) {
    std::map<std::string, int, std::less<>> levels;
    if (parseLevels(env, levels)) {
      for (auto& [name, level] : levels) r.levels[name] = level;
    }
  }
}

}  // namespace

TraceHandle::TraceHandle(std::string name, bool enabled) : name_(std::move(name)) {
  readEnvironment();
  Registry& r = registry();
  if (enabled) level_ = 9;
  if (auto it = r.levels.find(name_); it != r.levels.end()) level_ = it->second;
  r.handles.push_back(this);
}

TraceHandle::~TraceHandle() {
  auto& hs = registry().handles;
  std::erase(hs, this);
}

void traceLevelIs(std::string_view handleName, int level) {
  readEnvironment();
  Registry& r = registry();
  r.levels[std::string(handleName)] = level;
  for (TraceHandle* h : r.handles) {
    if (h->name() == handleName) h->levelIs(level);
  }
}

bool traceLevelsIs(std::string_view text) {
  std::map<std::string, int, std::less<>> levels;
  if (!parseLevels(text, levels)) return false;
  for (auto& [name, level] : levels) traceLevelIs(name, level);
  return true;
}

void traceOutputIs(std::ostream* out) {
  registry().out = out;
}

TraceHelper::TraceHelper(const TraceHandle& /*handle*/, int /*level*/) {}

TraceHelper::~TraceHelper() {
  std::ostream& out = registry().out ? *registry().out : std::cerr;
  out << line_.str() << '\n';
}

}  // namespace Vox
