#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "platform/plug_base_mutex.h"

/// Finished kernels that all instances of the process share. A kernel lives as long as somebody
/// uses it; the last few are kept, so that going back and forth designs nothing twice.
///
/// `Key`: everything that the design depends on, compared by ==. Threads: any but the audio thread.
template <typename Key, typename Kernel>
class KernelCache {
 public:
  using Shared = std::shared_ptr<const Kernel>;

  /// Keeps up to `recentCount` > 0 kernels that nobody uses.
  explicit KernelCache(std::size_t recentCount) : kept(recentCount) {}

  /// The kernel of `key`, which `make` (to a `Shared`) designs if need be. Throws what `make`
  /// throws, and std::bad_alloc.
  template <typename Make>
  Shared get(const Key& key, const Make& make) {
    if (Shared found = use(key, nullptr)) return found;
    // Without the lock, so that different designs do not wait for each other.
    return use(key, make());
  }

 private:
  struct Entry {
    Key key;
    std::weak_ptr<const Kernel> kernel;
  };

  /// Finds the kernel; if there is none, takes in `made` unless that is null.
  Shared use(const Key& key, const Shared& made) {
    Shared dropped;  // is freed after the lock is left
    const PlugBaseMutex::Scope scope(lock);
    const auto same = std::ranges::find(entries, key, &Entry::key);
    Shared found = same == entries.end() ? nullptr : same->kernel.lock();
    if (found == nullptr) {
      if (made == nullptr) return nullptr;
      found = made;
      std::erase_if(entries, [](const Entry& entry) { return entry.kernel.expired(); });
      entries.push_back({key, found});
    }
    dropped = remember(found);
    return found;
  }

  /// Puts a kernel first among those kept. Returns the one that falls out.
  Shared remember(const Shared& kernel) {
    auto place = std::ranges::find(kept, kernel);
    if (place == kept.end()) --place;
    Shared former = std::exchange(*place, kernel);
    std::rotate(kept.begin(), place, place + 1);
    return former;
  }

  PlugBaseMutex lock;
  // Under the lock.
  std::vector<Entry> entries;
  std::vector<Shared> kept;  // the newest first; null where none has been
};
