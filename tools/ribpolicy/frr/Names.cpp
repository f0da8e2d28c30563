#include "tools/ribpolicy/frr/Names.h"

#include <cstdio>

#include "framework/rib/MioSink.h"
#include "tools/ribpolicy/format/Format.h"
#include "tools/ribpolicy/format/References.h"

namespace frr {

namespace {

// The length of the UTF-8 sequence at the front of `s`, or 0 when it is not one.
std::size_t utf8Length(std::string_view s) {
  const auto b = static_cast<unsigned char>(s[0]);
  std::size_t n = 0;
  unsigned lowest = 0;
  if (b >= 0xc2 && b <= 0xdf) {
    n = 2;
    lowest = 0x80;
  } else if (b >= 0xe0 && b <= 0xef) {
    n = 3;
    lowest = 0x800;
  } else if (b >= 0xf0 && b <= 0xf4) {
    n = 4;
    lowest = 0x10000;
  } else {
    return 0;
  }
  if (s.size() < n) return 0;
  unsigned code = b & (0x7f >> n);
  for (std::size_t i = 1; i < n; ++i) {
    const auto c = static_cast<unsigned char>(s[i]);
    if ((c & 0xc0) != 0x80) return 0;
    code = (code << 6) | (c & 0x3f);
  }
  if (code < lowest || code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff)) return 0;
  return n;
}

// What of `text` no line of FRR can hold: a control character, bytes that are not UTF-8
// (which FRR's configuration model refuses without a word), a leading comment mark.
std::optional<std::string> lineProblem(std::string_view text) {
  if (text.starts_with('!') || text.starts_with('#')) {
    return std::string("begins with '") + text[0] + "', which makes a configuration line a comment";
  }
  for (std::size_t i = 0; i < text.size();) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c < 0x20 || c == 0x7f) {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\x%02x", c);
      return std::string("holds the control character ") + hex;
    }
    if (c < 0x80) {
      ++i;
      continue;
    }
    const std::size_t n = utf8Length(text.substr(i));
    if (n == 0) return "is not UTF-8";
    i += n;
  }
  return std::nullopt;
}

std::string inQuotes(std::string_view s) {
  std::string out;
  Rib::appendQuoted(out, s);
  return out;
}

}  // namespace

std::optional<std::string> nameProblem(std::string_view name) {
  if (name.find(' ') != std::string_view::npos) return "holds a blank";
  if (auto p = lineProblem(name)) return p;
  if (name.size() > kLongestName) {
    return "is longer than FRR's " + std::to_string(kLongestName) + " bytes";
  }
  return std::nullopt;
}

std::optional<std::string> expressionProblem(std::string_view expression) {
  if (auto p = lineProblem(expression)) return p;
  if (expression.starts_with(' ') || expression.ends_with(' ')) {
    return "begins or ends with a blank, which FRR drops";
  }
  if (expression.find("  ") != std::string_view::npos) {
    return "holds two blanks in a row, which FRR joins into one";
  }
  return std::nullopt;
}

std::optional<Refusal> refusal(const ribpolicy::Scenario& scenario) {
  for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
    const ribpolicy::Step& step = scenario.steps[i];
    auto refuse = [&](const std::string& path, const std::string& what, const std::string& why) {
      std::string message = what;
      message.append(" ").append(why).append("; FRR cannot hold it as one word of one line");
      return Refusal{i + 1, step.marks.find(path), std::move(message)};
    };
    const ribpolicy::ReferenceAnalysis analysis = ribpolicy::analyzeReferences(step.config);
    for (const ribpolicy::ObjectRef& o : analysis.objects) {
      if (o.name.empty()) continue;
      if (auto p = nameProblem(o.name)) {
        return refuse(std::string(ribpolicy::sectionOf(o.kind).key) + '/' + o.name,
                      std::string(ribpolicy::sectionOf(o.kind).label) + " name " + inQuotes(o.name),
                      *p);
      }
    }
    for (const ribpolicy::Reference& r : analysis.references) {
      if (r.to.name.empty()) continue;
      if (auto p = nameProblem(r.to.name)) {
        return refuse(
            r.markPath,
            std::string(ribpolicy::sectionOf(r.to.kind).label) + " name " + inQuotes(r.to.name),
            *p);
      }
    }
    // The expressions of AS-path and community lists, located at their list.
    auto expressions = [&](const auto& lists, const char* section,
                           const char* kind) -> std::optional<Refusal> {
      for (const auto& [name, list] : lists) {
        for (const auto& [seq, entry] : list.entries) {
          if (auto p = expressionProblem(entry.regex)) {
            return refuse(std::string(section) + '/' + name,
                          std::string(kind) + ' ' + inQuotes(name) + " entry " +
                              std::to_string(seq) + " expression " + inQuotes(entry.regex),
                          *p);
          }
        }
      }
      return std::nullopt;
    };
    if (auto r = expressions(step.config.asPathLists, "as-path-lists", "AS-path list")) return r;
    if (auto r = expressions(step.config.communityLists, "community-lists", "community list")) {
      return r;
    }
  }
  return std::nullopt;
}

}  // namespace frr
