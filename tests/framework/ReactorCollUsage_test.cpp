// The typical usage in ReactorColl.h's comment, compiled from the comment itself (the build
// writes it to ReactorCollUsage.h) and run, so that the example a new kind is written from
// stays true.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "framework/vox/Entity.h"
#include "framework/vox/Reactor.h"
#include "framework/vox/ReactorColl.h"

namespace {

// The configuration entities the example watches.
class Book : public Vox::PtrInterface, public Vox::NotifierBase<Book> {
 public:
  class Notifiee : public Vox::NotifieeBase<Book, Notifiee> {
   public:
    virtual void onTitle() {}
  };
  explicit Book(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }
  void titleIs(const std::string& t) { Vox::scalarIs(*this, title_, t, &Notifiee::onTitle); }

 private:
  std::string name_;
  std::string title_;
};

class Shelf : public Vox::PtrInterface, public Vox::NotifierBase<Shelf> {
 public:
  class Notifiee : public Vox::NotifieeBase<Shelf, Notifiee> {
   public:
    virtual void onBook(const std::string& /*name*/) {}
  };
  using Coll = std::map<std::string, Vox::Ptr<Book>>;
  const Coll& book() const { return books_; }
  void bookIs(const Vox::Ptr<Book>& b) {
    if (Vox::storeEntity(books_, b->name(), b)) notify([&](Notifiee& n) { n.onBook(b->name()); });
  }
  void bookDel(const std::string& name) {
    if (books_.erase(name) > 0) notify([&](Notifiee& n) { n.onBook(name); });
  }

 private:
  Coll books_;
};

#include "ReactorCollUsage.h"  // NOLINT(bugprone-suspicious-include): the generated example

// The machine sends the books there are, then follows the shelf: a new book's reactor sends it
// (also while the handlers are off: the collection follows the shelf either way), a retitled
// book is sent again, and a removed one is deleted before its reactor goes.
TEST(ReactorCollUsageTest, TheExampleFollowsItsShelf) {
  auto shelf = Vox::make<Shelf>();
  shelf->bookIs(Vox::make<Book>("A"));
  auto sm = Vox::make<ShelfSm>(shelf);
  shelf->bookIs(Vox::make<Book>("B"));  // before the handlers are on
  sm->hasNotificationActiveIs(true);
  auto c = Vox::make<Book>("C");
  shelf->bookIs(c);
  c->titleIs("Emma");
  shelf->bookDel("A");
  EXPECT_EQ(sm->sent, (std::vector<std::string>{"add A", "add B", "add C", "add C", "delete A"}));
}

}  // namespace
