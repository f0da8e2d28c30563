#include "framework/vox/Reactor.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "framework/vox/Entity.h"
#include "framework/vox/ReactorColl.h"

namespace {

using Log = std::vector<std::string>;

// A watched entry; entries of the same name but another generation are different entities.
class Part : public Vox::PtrInterface, public Vox::NotifierBase<Part> {
 public:
  class Notifiee : public Vox::NotifieeBase<Part, Notifiee> {};

  Part(std::string name, int generation) : name_(std::move(name)), generation_(generation) {}
  const std::string& name() const { return name_; }
  std::string label() const { return name_ + "#" + std::to_string(generation_); }

 private:
  std::string name_;
  int generation_;
};
using PartPtr = Vox::Ptr<Part const>;

// A watched entity with a keyed collection of parts and one scalar attribute.
class Machine : public Vox::PtrInterface, public Vox::NotifierBase<Machine> {
 public:
  class Notifiee : public Vox::NotifieeBase<Machine, Notifiee> {
   public:
    virtual void onPart(const std::string& /*name*/) {}
    virtual void onMode() {}
  };

  using Coll = std::map<std::string, Vox::Ptr<Part>>;
  const Coll& part() const { return parts_; }
  PartPtr part(const std::string& name) const { return Vox::lookup(parts_, name); }
  void partIs(const Vox::Ptr<Part>& p) {
    if (!Vox::storeEntity(parts_, p->name(), p)) return;
    const std::string name = p->name();
    notify([&](Notifiee& n) { n.onPart(name); });
  }
  void partDel(const std::string& name) {
    if (parts_.erase(name) == 0) return;
    notify([&](Notifiee& n) { n.onPart(name); });
  }
  void modeIs(int m) {
    if (m == mode_) return;
    mode_ = m;
    notify([](Notifiee& n) { n.onMode(); });
  }

 private:
  Coll parts_;
  int mode_ = 0;
};

// A reactor that owns one more level below it; logs zombie changes and destruction.
class Leaf : public Vox::Reactor {
 public:
  Leaf(std::string name, Log* log) : below(this), name_(std::move(name)), log_(log) {}
  ~Leaf() override { log_->push_back("destroyed " + name_); }
  void onZombie(bool zombie) override {
    log_->push_back((zombie ? "zombie " : "revived ") + name_);
  }

  Vox::ReactorSlot<Leaf> below;

 private:
  std::string name_;
  Log* log_;
};

class Owner;

// The nested reactor of one part: logs creation, retargets, zombie changes and destruction.
class VoxPart : public Vox::ReactorOn<Part> {
 public:
  VoxPart(const PartPtr& part, Owner* owner);
  ~VoxPart() override;
  void onZombie(bool zombie) override;

 protected:
  void onRetarget() override;

 private:
  Log* log_;
};

// A state machine watching a Machine: a slot for a leaf reactor and a collection of parts.
class Owner : public Vox::Reactor, public Machine::Notifiee {
 public:
  explicit Owner(Log* log, const char* collection = "Test::Owner::part")
      : slot(this),
        parts(this, collection, [this] { return notifier() ? &notifier()->part() : nullptr; }),
        log_(log) {}
  ~Owner() override { log_->push_back("destroyed owner"); }
  Log* log() const { return log_; }

  void onZombie(bool zombie) override {
    log_->push_back(zombie ? "zombie owner" : "revived owner");
  }

  void onPart(const std::string& name) override {
    parts.onKey(*this, name, [this](const std::string& key) { handlePart(key); });
  }
  void onMode() override {
    dispatchScalar([this] { log_->push_back("handle mode"); });
  }

  // The hand-written reaction: logs what it sees, then runs the test's extra step.
  void handlePart(const std::string& key) {
    log_->push_back("handle " + key + (notifier()->part(key) ? " present" : " gone") +
                    (parts.find(key) ? ", reactor" : ", no reactor"));
    if (onHandle) onHandle();
  }

  std::function<void()> onHandle;
  Vox::ReactorSlot<Leaf> slot;
  Vox::ReactorColl<VoxPart, Machine::Coll> parts;

 private:
  Log* log_;
};

VoxPart::VoxPart(const PartPtr& part, Owner* owner) : ReactorOn(part), log_(owner->log()) {
  log_->push_back("created " + part->label());
  initializedIs(true);
}
VoxPart::~VoxPart() {
  log_->push_back("destroyed " + notifier()->label());
}
void VoxPart::onZombie(bool zombie) {
  log_->push_back((zombie ? "zombie " : "revived ") + notifier()->label());
}
void VoxPart::onRetarget() {
  log_->push_back("retarget to " + notifier()->label());
}

Vox::Ptr<Part> part(const char* name, int generation = 1) {
  return Vox::make<Part>(name, generation);
}

std::vector<std::string> keysOf(const Owner& o) {
  std::vector<std::string> keys;
  for (const auto& [key, r] : o.parts) keys.push_back(key);
  return keys;
}

class ReactorTest : public testing::Test {
 protected:
  Log log_;
  Vox::Ptr<Owner> owner_ = Vox::make<Owner>(&log_);
};

// Switching notifications on and off reaches the slot's reactors (recursively) and the
// collection's.
TEST_F(ReactorTest, ActiveFlagReachesOwnedReactors) {
  owner_->slot.set(Vox::make<Leaf>("leaf", &log_));
  owner_->slot->below.set(Vox::make<Leaf>("leaf2", &log_));
  VoxPart* a = owner_->parts.is(part("a"));
  VoxPart* b = owner_->parts.is(part("b"));

  owner_->hasNotificationActiveIs(true);
  for (Vox::Reactor* r : std::vector<Vox::Reactor*>{owner_.ptr(), owner_->slot.get(),
                                                    owner_->slot->below.get(), a, b}) {
    EXPECT_TRUE(r->notificationActive());
  }
  owner_->hasNotificationActiveIs(false);
  for (Vox::Reactor* r : std::vector<Vox::Reactor*>{owner_.ptr(), owner_->slot.get(),
                                                    owner_->slot->below.get(), a, b}) {
    EXPECT_FALSE(r->notificationActive());
  }
}

// Setting the active flag to the value in force reaches no owned reactor.
TEST_F(ReactorTest, ActiveFlagInForceReachesNoOne) {
  owner_->slot.set(Vox::make<Leaf>("leaf", &log_));
  VoxPart* a = owner_->parts.is(part("a"));
  owner_->hasNotificationActiveIs(true);
  a->hasNotificationActiveIs(false);
  owner_->hasNotificationActiveIs(true);
  EXPECT_FALSE(a->notificationActive());

  owner_->hasNotificationActiveIs(false);
  owner_->slot->hasNotificationActiveIs(true);
  owner_->hasNotificationActiveIs(false);
  EXPECT_TRUE(owner_->slot->notificationActive());
}

// The zombie mark reaches every owned reactor, deepest first, before the owner itself; it
// releases nothing. Clearing it goes the same way.
TEST_F(ReactorTest, ZombieReachesOwnedReactorsFirst) {
  owner_->slot.set(Vox::make<Leaf>("leaf", &log_));
  owner_->slot->below.set(Vox::make<Leaf>("leaf2", &log_));
  owner_->parts.is(part("b"));
  owner_->parts.is(part("a"));
  log_.clear();

  owner_->voxDoZombieReactors(true);
  EXPECT_EQ(log_, (Log{"zombie leaf2", "zombie leaf", "zombie a#1", "zombie b#1", "zombie owner"}));
  EXPECT_TRUE(owner_->parts.find("a")->zombie());
  log_.clear();
  owner_->voxDoZombieReactors(false);
  EXPECT_EQ(log_,
            (Log{"revived leaf2", "revived leaf", "revived a#1", "revived b#1", "revived owner"}));
}

// Setting the zombie mark to the value in force reaches no owned reactor.
TEST_F(ReactorTest, ZombieInForceReachesNoOne) {
  owner_->slot.set(Vox::make<Leaf>("leaf", &log_));
  owner_->parts.is(part("a"));
  log_.clear();
  owner_->voxDoZombieReactors(false);
  EXPECT_EQ(log_, Log{});

  owner_->voxDoZombieReactors(true);
  owner_->parts.find("a")->voxDoZombieReactors(false);
  log_.clear();
  owner_->voxDoZombieReactors(true);
  EXPECT_EQ(log_, Log{});
  EXPECT_FALSE(owner_->parts.find("a")->zombie());
}

// A slot given a new reactor marks the old one a zombie and releases it.
TEST_F(ReactorTest, SlotReplacementReleasesOldReactor) {
  owner_->slot.set(Vox::make<Leaf>("old", &log_));
  owner_->slot.set(Vox::make<Leaf>("new", &log_));
  EXPECT_EQ(log_, (Log{"zombie old", "destroyed old"}));
}

// `is` makes one reactor per key, watching its entity; iteration is in key order.
TEST_F(ReactorTest, IsCreatesReactorPerKey) {
  const auto b = part("b");
  owner_->parts.is(b);
  owner_->parts.is(part("a"));
  EXPECT_EQ(keysOf(*owner_), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(owner_->parts.find("b")->notifier(), PartPtr(b));
  EXPECT_EQ(log_, (Log{"created b#1", "created a#1"}));
}

// `is` with a new entity under an existing key retargets that key's reactor; with the same
// entity it changes nothing.
TEST_F(ReactorTest, IsRetargetsExistingKey) {
  const auto a1 = part("a", 1);
  const auto a2 = part("a", 2);
  VoxPart* first = owner_->parts.is(a1);
  VoxPart* second = owner_->parts.is(a2);
  owner_->parts.is(a2);
  EXPECT_EQ(first, second);
  EXPECT_EQ(owner_->parts.size(), 1u);
  EXPECT_EQ(log_, (Log{"created a#1", "retarget to a#2"}));
  EXPECT_EQ(a1->notifiees().size(), 0u);
  EXPECT_EQ(a2->notifiees().size(), 1u);
}

struct InheritCase {
  bool active;
  bool zombie;
};

// A reactor created in a collection takes its owner's active and zombie flags.
TEST(ReactorCollTest, NewReactorTakesOwnerFlags) {
  for (const InheritCase c : {InheritCase{false, false}, InheritCase{true, false},
                              InheritCase{false, true}, InheritCase{true, true}}) {
    SCOPED_TRACE(testing::Message() << "active " << c.active << ", zombie " << c.zombie);
    Log log;
    auto owner = Vox::make<Owner>(&log);
    owner->hasNotificationActiveIs(c.active);
    owner->voxDoZombieReactors(c.zombie);
    VoxPart* r = owner->parts.is(part("a"));
    EXPECT_EQ(r->notificationActive(), c.active);
    EXPECT_EQ(r->zombie(), c.zombie);
  }
}

// `del` marks the reactor a zombie, runs the hook on the live zombie, then releases it.
TEST_F(ReactorTest, DelRunsHookBetweenZombieAndRelease) {
  owner_->parts.zombieHookIs([this](VoxPart& r) {
    log_.push_back(std::string("hook ") + (r.zombie() ? "zombie " : "live ") +
                   r.notifier()->label());
  });
  owner_->parts.is(part("a"));
  owner_->parts.is(part("b"));
  log_.clear();
  owner_->parts.del("a");
  owner_->parts.del("missing");
  EXPECT_EQ(log_, (Log{"zombie a#1", "hook zombie a#1", "destroyed a#1"}));
  EXPECT_EQ(keysOf(*owner_), std::vector<std::string>{"b"});
}

// `delAll` removes every reactor in key order, each with its hook.
TEST_F(ReactorTest, DelAllRemovesInKeyOrder) {
  owner_->parts.zombieHookIs(
      [this](VoxPart& r) { log_.push_back("hook " + r.notifier()->label()); });
  for (const char* name : {"c", "a", "b"}) owner_->parts.is(part(name));
  log_.clear();
  owner_->parts.delAll();
  EXPECT_EQ(log_, (Log{"zombie a#1", "hook a#1", "destroyed a#1", "zombie b#1", "hook b#1",
                       "destroyed b#1", "zombie c#1", "hook c#1", "destroyed c#1"}));
  EXPECT_TRUE(owner_->parts.empty());
}

// `reconcileAll` creates and retargets for every watched entry, then drops the keys gone.
TEST_F(ReactorTest, ReconcileAllMatchesWatchedCollection) {
  owner_->parts.is(part("a", 1));
  owner_->parts.is(part("b", 1));
  auto machine = Vox::make<Machine>();
  machine->partIs(part("a", 2));
  machine->partIs(part("c", 1));
  owner_->notifierIs(machine);
  log_.clear();
  owner_->parts.reconcileAll();
  EXPECT_EQ(log_, (Log{"retarget to a#2", "created c#1", "zombie b#1", "destroyed b#1"}));
  EXPECT_EQ(keysOf(*owner_), (std::vector<std::string>{"a", "c"}));
}

// Tearing down the owner marks its reactors zombies and releases them without the hook.
TEST_F(ReactorTest, TeardownReleasesWithoutHook) {
  owner_->parts.zombieHookIs([this](VoxPart&) { log_.push_back("hook"); });
  owner_->parts.is(part("a"));
  owner_->slot.set(Vox::make<Leaf>("leaf", &log_));
  log_.clear();
  owner_ = nullptr;
  EXPECT_EQ(log_, (Log{"destroyed owner", "zombie a#1", "destroyed a#1", "zombie leaf",
                       "destroyed leaf"}));
}

struct DispatchCase {
  const char* name;
  bool active;
  bool zombie;
  Log added;    // after adding part a
  Log removed;  // after removing it again
  friend void PrintTo(const DispatchCase& c, std::ostream* os) { *os << c.name; }
};

class KeyedDispatchTest : public testing::TestWithParam<DispatchCase> {};

// A keyed notification runs the handler only when enabled, before the collection is brought
// in line; the collection follows the watched entity in every state.
TEST_P(KeyedDispatchTest, HandlerThenReconcile) {
  Log log;
  auto machine = Vox::make<Machine>();
  auto owner = Vox::make<Owner>(&log);
  owner->notifierIs(machine);
  owner->hasNotificationActiveIs(GetParam().active);
  owner->voxDoZombieReactors(GetParam().zombie);
  log.clear();

  machine->partIs(part("a"));
  EXPECT_EQ(log, GetParam().added);
  log.clear();
  machine->partDel("a");
  EXPECT_EQ(log, GetParam().removed);
}

INSTANTIATE_TEST_SUITE_P(
    Reactor, KeyedDispatchTest,
    testing::Values(
        // Enabled: the handler sees the new entry before its reactor exists, and the removed
        // entry gone while its reactor is still there.
        DispatchCase{"Enabled",
                     true,
                     false,
                     {"handle a present, no reactor", "created a#1"},
                     {"handle a gone, reactor", "zombie a#1", "destroyed a#1"}},
        // Inactive: no handler, but the collection still follows.
        DispatchCase{"Inactive", false, false, {"created a#1"}, {"zombie a#1", "destroyed a#1"}},
        // Zombie: no handler; new reactors are zombies from the start.
        DispatchCase{"Zombie", true, true, {"created a#1", "zombie a#1"}, {"destroyed a#1"}}),
    [](const testing::TestParamInfo<DispatchCase>& info) { return std::string(info.param.name); });

// A handler that leads to its own reactor's release still sees the reconciliation through.
TEST(ReactorDispatchTest, HandlerMayReleaseItsReactor) {
  Log log;
  auto machine = Vox::make<Machine>();
  auto owner = Vox::make<Owner>(&log);
  owner->notifierIs(machine);
  owner->hasNotificationActiveIs(true);
  owner->onHandle = [&owner] { owner = nullptr; };

  machine->partIs(part("a"));
  EXPECT_EQ(log, (Log{"handle a present, no reactor", "created a#1", "destroyed owner",
                      "zombie a#1", "destroyed a#1"}));
  EXPECT_EQ(machine->notifiees().size(), 0u);
}

// A scalar notification runs the handler only when active and not a zombie.
TEST(ReactorDispatchTest, ScalarHandlerOnlyWhenEnabled) {
  for (const InheritCase c : {InheritCase{false, false}, InheritCase{true, false},
                              InheritCase{false, true}, InheritCase{true, true}}) {
    SCOPED_TRACE(testing::Message() << "active " << c.active << ", zombie " << c.zombie);
    Log log;
    auto machine = Vox::make<Machine>();
    auto owner = Vox::make<Owner>(&log);
    owner->notifierIs(machine);
    owner->hasNotificationActiveIs(c.active);
    owner->voxDoZombieReactors(c.zombie);
    log.clear();
    machine->modeIs(1);
    EXPECT_EQ(log, c.active && !c.zombie ? Log{"handle mode"} : Log{});
  }
}

// A null entity given to a collection's `is` is refused with a message naming the mutator,
// its parameter derived from the collection's name.
TEST(ReactorCollDeathTest, NullEntityRefused) {
  Log log;
  auto owner = Vox::make<Owner>(&log, "RibRouteMap::RouteMapConfigSm::routeMap");
  EXPECT_DEATH(owner->parts.is(nullptr),
               "null _routeMap parameter to mutator for "
               "RibRouteMap::RouteMapConfigSm::routeMap not allowed");
}

}  // namespace
