#include "framework/vox/Reactor.h"

namespace Vox {

void Reactor::hasNotificationActiveIs(bool active) {
  if (notificationActive() == active) return;
  flagIs(kNotificationActiveBit, active);
  for (ReactorChildren* c : children_) {
    c->forEachReactor([](Reactor& r, bool v) { r.hasNotificationActiveIs(v); }, active);
  }
  onNotificationActive(active);
}

void Reactor::voxDoZombieReactors(bool zombie) {
  if (this->zombie() == zombie) return;
  for (ReactorChildren* c : children_) {
    c->forEachReactor([](Reactor& r, bool v) { r.voxDoZombieReactors(v); }, zombie);
  }
  flagIs(kZombieBit, zombie);
  onZombie(zombie);
}

}  // namespace Vox
