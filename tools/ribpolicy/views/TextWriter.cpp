#include "tools/ribpolicy/views/TextWriter.h"

#include "RibText/TagNames.h"

namespace ribpolicy {

namespace {

using RibText::nodeTagOf;
using RibText::readablePath;
using RibText::readableScalar;
using RibText::readableValue;
using Vox::U32;

constexpr std::size_t kNameWidth = 28;

// `s` padded to `width`, or followed by one blank when it is wider.
std::string column(const std::string& s, std::size_t width) {
  if (s.size() >= width) return s + ' ';
  return s + std::string(width - s.size(), ' ');
}

}  // namespace

std::string TextWriter::opLine(const Rib::OpRecord& op, Form form) {
  const bool numeric = form == Form::numeric;
  const U32 node = nodeTagOf(op.path);
  std::string line = op.del ? "  DEL  " : "       ";
  line += column(op.name, kNameWidth);
  line += column(numeric ? Rib::pathText(op.path) : readablePath(op.path), kPathWidth);
  std::string rest;
  if (!op.values.empty()) {
    rest += '{';
    for (std::size_t i = 0; i < op.values.size(); ++i) {
      if (i) rest += ' ';
      rest += numeric ? Rib::valueText(op.values[i]) : readableValue(node, op.values[i]);
    }
    rest += '}';
  }
  if (!op.scalars.empty()) {
    if (!rest.empty()) rest += ' ';
    rest += "scalars{";
    for (std::size_t i = 0; i < op.scalars.size(); ++i) {
      if (i) rest += ' ';
      const Rib::OpScalar& scalar = op.scalars[i];
      rest += numeric ? std::to_string(scalar.tag) + ":u32=" + std::to_string(scalar.value)
                      : readableScalar(scalar);
    }
    rest += '}';
  }
  line += rest;
  while (!line.empty() && line.back() == ' ') line.pop_back();
  return line;
}

std::string TextWriter::commitLine(Rib::CommitKind kind) {
  switch (kind) {
    case Rib::CommitKind::engine:
      return "  ---- commit";
    case Rib::CommitKind::operation:
      return "  ---- commit (op)";
  }
  return "  ---- commit";
}

void TextWriter::execute(const Rib::MioOp& op) {
  out_ << opLine(Rib::OpRecord::of(op), form_) << '\n';
  ++lines_;
}

void TextWriter::commit(Rib::CommitKind kind) {
  out_ << commitLine(kind) << '\n';
  ++lines_;
}

void TextWriter::stepIs(std::size_t number, std::string_view name, std::string_view note) {
  if (number > 1) out_ << '\n';
  out_ << "step " << number;
  if (!name.empty()) out_ << ": " << name;
  if (!note.empty()) out_ << "  [" << note << ']';
  out_ << '\n';
  lines_ = 0;
}

void TextWriter::stepDone() {
  if (lines_ == 0) out_ << "       (no operations)\n";
  out_.flush();
}

}  // namespace ribpolicy
