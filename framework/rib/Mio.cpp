#include "framework/rib/Mio.h"

#include "framework/rib/MioSink.h"

namespace Rib {

namespace {
MioSink* currentSink = nullptr;
}

MioSink* sinkIs(MioSink* s) {
  MioSink* previous = currentSink;
  currentSink = s;
  return previous;
}

MioSink* sink() {
  return currentSink;
}

const MioValueTagArray::Values& MioOp::values() const {
  static const MioValueTagArray::Values none{};
  return value_ ? value_->values() : none;
}

void MioOp::doExecute() const {
  if (currentSink) currentSink->execute(*this);
}

void MioOp::doCommit() const {
  if (currentSink) currentSink->commit(CommitKind::operation);
}

void MioCommit::doCommit() {
  if (currentSink) currentSink->commit(CommitKind::engine);
}

}  // namespace Rib
