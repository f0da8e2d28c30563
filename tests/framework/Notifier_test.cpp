#include "framework/vox/Notifier.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "framework/vox/Entity.h"
#include "framework/vox/NotificationQueue.h"

namespace {

using Log = std::vector<std::string>;

// A watched entity with one attribute.
class Dial : public Vox::PtrInterface, public Vox::NotifierBase<Dial> {
 public:
  class Notifiee : public Vox::NotifieeBase<Dial, Notifiee> {
   public:
    virtual void onSetting() {}
  };

  explicit Dial(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }
  int setting() const { return setting_; }
  void settingIs(int v) {
    if (v == setting_) return;
    setting_ = v;
    notify([](Notifiee& n) { n.onSetting(); });
  }

 private:
  std::string name_;
  int setting_ = 0;
};

// Logs every call as "name@setting", then runs its reaction; logs retargets as "name -> dial".
class Watcher : public Dial::Notifiee {
 public:
  Watcher(std::string name, Log* log) : name_(std::move(name)), log_(log) {}

  std::function<void()> reaction;

  void onSetting() override {
    log_->push_back(name_ + "@" + std::to_string(notifier()->setting()));
    if (reaction) reaction();
  }
  void onNotifier() override {
    log_->push_back(name_ + " -> " + (notifier() ? notifier()->name() : std::string("none")));
  }

 private:
  std::string name_;
  Log* log_;
};

class NotifierListTest : public testing::Test {
 protected:
  NotifierListTest() {
    for (Watcher* w : {&a_, &b_, &c_}) w->notifierIs(dial_);
    log_.clear();
  }

  Vox::Ptr<Dial> dial_ = Vox::make<Dial>("dial");
  Log log_;
  Watcher a_{"A", &log_};
  Watcher b_{"B", &log_};
  Watcher c_{"C", &log_};
};

// Notifiees are called in the order they registered.
TEST_F(NotifierListTest, CallsInRegistrationOrder) {
  dial_->settingIs(1);
  EXPECT_EQ(log_, (Log{"A@1", "B@1", "C@1"}));
}

// A notifiee that unregisters itself finishes the round normally and is gone from the next.
TEST_F(NotifierListTest, SelfRemovalTakesEffectNextRound) {
  b_.reaction = [this] { b_.notifierIs(nullptr); };
  dial_->settingIs(1);
  dial_->settingIs(2);
  EXPECT_EQ(log_, (Log{"A@1", "B@1", "B -> none", "C@1", "A@2", "C@2"}));
  EXPECT_EQ(dial_->notifiees().size(), 2u);
}

// A notifiee unregistered before its turn is not called in that round.
TEST_F(NotifierListTest, RemovingLaterNotifieeSkipsIt) {
  a_.reaction = [this] { c_.notifierIs(nullptr); };
  dial_->settingIs(1);
  EXPECT_EQ(log_, (Log{"A@1", "C -> none", "B@1"}));
}

// Removing a notifiee already called leaves the rest of the round untouched.
TEST_F(NotifierListTest, RemovingEarlierNotifieeKeepsRound) {
  c_.reaction = [this] { a_.notifierIs(nullptr); };
  b_.reaction = [this] { a_.notifierIs(nullptr); };
  dial_->settingIs(1);
  dial_->settingIs(2);
  EXPECT_EQ(log_, (Log{"A@1", "B@1", "A -> none", "C@1", "B@2", "C@2"}));
}

// A notifiee destroyed during a round, before its turn, is not called.
TEST_F(NotifierListTest, DestroyedNotifieeIsNotCalled) {
  auto d = std::make_unique<Watcher>("D", &log_);
  d->notifierIs(dial_);
  a_.reaction = [&d] { d.reset(); };
  dial_->settingIs(1);
  dial_->settingIs(2);
  EXPECT_EQ(log_, (Log{"D -> dial", "A@1", "B@1", "C@1", "A@2", "B@2", "C@2"}));
  EXPECT_EQ(dial_->notifiees().size(), 3u);
}

// A notifiee registered during a round is called from the next round on.
TEST_F(NotifierListTest, AddedDuringRoundWaitsForNext) {
  Watcher d("D", &log_);
  a_.reaction = [&] { d.notifierIs(dial_); };
  dial_->settingIs(1);
  dial_->settingIs(2);
  EXPECT_EQ(log_, (Log{"A@1", "D -> dial", "B@1", "C@1", "A@2", "B@2", "C@2", "D@2"}));
}

// A change made by a callback notifies everyone at once; the outer round then continues.
TEST_F(NotifierListTest, NestedNotificationRunsFirst) {
  a_.reaction = [this] {
    if (dial_->setting() == 1) dial_->settingIs(2);
  };
  dial_->settingIs(1);
  EXPECT_EQ(log_, (Log{"A@1", "A@2", "B@2", "C@2", "B@2", "C@2"}));
}

// A removal made in a nested round holds for the rest of the outer round and after it.
TEST_F(NotifierListTest, RemovalInNestedRoundHoldsInOuterRound) {
  a_.reaction = [this] {
    if (dial_->setting() == 1) dial_->settingIs(2);
  };
  b_.reaction = [this] { c_.notifierIs(nullptr); };
  dial_->settingIs(1);
  dial_->settingIs(3);
  EXPECT_EQ(log_, (Log{"A@1", "A@2", "B@2", "C -> none", "B@2", "A@3", "B@3"}));
  EXPECT_EQ(dial_->notifiees().size(), 2u);
}

// Removing an earlier notifiee inside a nested round does not shift the outer round.
TEST_F(NotifierListTest, EarlierRemovalInNestedRoundKeepsOuterPositions) {
  a_.reaction = [this] {
    if (dial_->setting() == 1) dial_->settingIs(2);
  };
  b_.reaction = [this] { a_.notifierIs(nullptr); };
  dial_->settingIs(1);
  EXPECT_EQ(log_, (Log{"A@1", "A@2", "B@2", "A -> none", "C@2", "B@2", "C@2"}));
}

// Pointing a notifiee at another entity moves its registration there.
TEST(NotifieeBaseTest, RetargetMovesRegistration) {
  Log log;
  auto first = Vox::make<Dial>("first");
  auto second = Vox::make<Dial>("second");
  Watcher w("W", &log);
  w.notifierIs(first);
  w.notifierIs(second);
  first->settingIs(1);
  second->settingIs(2);
  EXPECT_EQ(log, (Log{"W -> first", "W -> second", "W@2"}));
  EXPECT_EQ(first->notifiees().size(), 0u);
  EXPECT_EQ(second->notifiees().size(), 1u);
}

// Pointing a notifiee at the entity it already watches changes nothing.
TEST(NotifieeBaseTest, SameNotifierIsNoOp) {
  Log log;
  auto dial = Vox::make<Dial>("dial");
  Watcher w("W", &log);
  w.notifierIs(dial);
  w.notifierIs(dial);
  dial->settingIs(1);
  EXPECT_EQ(log, (Log{"W -> dial", "W@1"}));
  EXPECT_EQ(dial->notifiees().size(), 1u);
}

// A notifiee destroyed while registered leaves its entity's list.
TEST(NotifieeBaseTest, DestructionUnregisters) {
  Log log;
  auto dial = Vox::make<Dial>("dial");
  {
    Watcher w("W", &log);
    w.notifierIs(dial);
    EXPECT_EQ(dial->notifiees().size(), 1u);
  }
  EXPECT_EQ(dial->notifiees().size(), 0u);
  dial->settingIs(1);
  EXPECT_EQ(log, (Log{"W -> dial"}));
}

// A chain of causes is handled one notification at a time, in arrival order, never nested.
TEST(NotificationQueueTest, NestedArrivalsWaitTheirTurn) {
  std::vector<int> handled;
  int depth = 0;
  int deepest = 0;
  Vox::NotificationQueue<int>* self = nullptr;
  Vox::NotificationQueue<int> queue([&](const int& key) {
    deepest = std::max(deepest, ++depth);
    handled.push_back(key);
    // Each key below 1000 causes two more, the way one reference enters two others.
    if (key < 1000) {
      self->dispatch(key * 2);
      self->dispatch(key * 2 + 1);
    }
    --depth;
  });
  self = &queue;
  queue.dispatch(1);
  EXPECT_EQ(deepest, 1);
  ASSERT_EQ(handled.size(), 1999u);
  for (std::size_t i = 0; i < handled.size(); ++i) EXPECT_EQ(handled[i], static_cast<int>(i) + 1);
  EXPECT_FALSE(queue.running());
}

}  // namespace
