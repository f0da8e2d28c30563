// Serialises the handling of one kind of notification.
//
// Some reactions cause further notifications of the same kind: entering a route map into the
// policy-reference map may enter the maps it refers to, whose handling enters theirs, and so
// on. Handled as they arrive, such a chain nests one handler inside the other, and its depth
// becomes stack depth. A NotificationQueue handles one notification at a time instead.
//
// Reentrancy contract of `dispatch`:
//  - Called while no notification of this queue is being handled, it runs the handler for
//    `key` at once, and then for every key that arrived meanwhile, in arrival order, before it
//    returns.
//  - Called from inside the handler (directly or through other entities), it only appends the
//    key; the handler runs for it once the current one has returned. A chain of N nested causes
//    therefore takes N turns of one loop, not N stack frames.
//  - Every key is handled exactly once, also when the same key arrives twice; a handler must
//    therefore read the current state rather than trust the notification's moment.
#pragma once

#include <deque>
#include <functional>
#include <utility>

namespace Vox {

template <class Key>
class NotificationQueue {
 public:
  using Handler = std::function<void(const Key&)>;

  explicit NotificationQueue(Handler handler) : handler_(std::move(handler)) {}
  NotificationQueue(const NotificationQueue&) = delete;
  NotificationQueue& operator=(const NotificationQueue&) = delete;

  void dispatch(Key key) {
    pending_.push_back(std::move(key));
    if (running_) return;
    running_ = true;
    while (!pending_.empty()) {
      const Key next = std::move(pending_.front());
      pending_.pop_front();
      handler_(next);
    }
    running_ = false;
  }

  bool running() const { return running_; }

 private:
  Handler handler_;
  std::deque<Key> pending_;
  bool running_ = false;
};

}  // namespace Vox
