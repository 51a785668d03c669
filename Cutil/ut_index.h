// Index of a table: finds the entry that belongs to a key by the key's hash.
//
// Open addressing with linear probing in a power of two of slots, at most half
// of which are in use, or two thirds. An entry is a small record that the
// caller chooses: the number of a row together with its hash, so that growing
// touches no row, or a pointer to the row. Entry{} is the empty slot, and
// HashOf tells the hash of every other one. Nothing is ever taken out; clear()
// drops all.
//
//   UtIndex<UtNumbered> index;
//   index.make_room();                      // may throw bad_alloc
//   UtNumbered* slot = index.slot(hash, [&](const UtNumbered& entry) {
//     return entry.hash == hash && rows[entry.number()] == key;
//   });
//   if (slot->empty()) index.fill(slot, UtNumbered(hash, rows.size()));
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "Cutil/ut_memory.h"

// Number of a row, with the hash of its key.
struct UtNumbered {
  UtNumbered() = default;
  UtNumbered(uint32_t hash_of_key, size_t number)
      : hash(hash_of_key), after(static_cast<uint32_t>(number) + 1) {}
  bool empty() const { return after == 0; }
  uint32_t number() const { return after - 1; }

  uint32_t hash = 0;
  uint32_t after = 0;  // number + 1; 0: empty
};

inline uint32_t UtHashOf(const UtNumbered& entry) {
  return entry.hash;
}
// UtHashOf will be asked for soon.
inline void UtPrefetch(const UtNumbered&) {}
inline bool UtIsEmpty(const UtNumbered& entry) {
  return entry.empty();
}

// There are at least so many slots for two entries: 3 where an index should
// stay in a processor's cache, more where nobody looks beyond the first slot.
template <class Entry, size_t SLOTS_FOR_TWO = 4>
class UtIndex {
 public:
  // Makes sure that one more entry fits. Throws bad_alloc, with the index as
  // it was. Slots that were handed out before are gone.
  void make_room(size_t fewest_slots = 16) {
    const size_t slots = slots_.size();
    const size_t for_two =
        slots < LARGE ? SLOTS_FOR_TWO : std::min<size_t>(SLOTS_FOR_TWO, 4);
    if ((used_ + 1) * for_two <= slots * 2) return;
    grow(slots_.empty() ? fewest_slots : slots_.size() * 2);
  }

  // The slot of the entry with this hash for which `matches` is true, or the
  // empty one where it belongs. There must be room, see make_room.
  template <class Matches>
  Entry* slot(uint32_t hash, Matches matches) {
    const size_t mask = slots_.size() - 1;
    for (size_t at = hash & mask;; at = (at + 1) & mask) {
      Entry* entry = &slots_[at];
      if (UtIsEmpty(*entry) || matches(*entry)) return entry;
    }
  }

  // The same without a change: the empty entry when there is none, also in an
  // index that never had room.
  template <class Matches>
  Entry find(uint32_t hash, Matches matches) const {
    if (slots_.empty()) return Entry{};
    return *const_cast<UtIndex*>(this)->slot(hash, matches);
  }

  // What stands in the first slot that an entry with this hash may have; there
  // must be slots.
  const Entry& first(uint32_t hash) const {
    return slots_[hash & (slots_.size() - 1)];
  }

  // Fills an empty slot that slot() has found.
  void fill(Entry* empty_slot, const Entry& entry) {
    *empty_slot = entry;
    used_++;
  }

  size_t size() const { return used_; }
  bool has_slots() const { return !slots_.empty(); }

  void clear() {
    UtVector<Entry>().swap(slots_);
    used_ = 0;
  }

 private:
  [[gnu::noinline]] void grow(size_t size) {
    UtVector<Entry> old(size);
    slots_.swap(old);
    const auto never = [](const Entry&) { return false; };
    for (size_t i = 0; i < old.size(); i++) {
      UtPrefetch(old[std::min(i + AHEAD, old.size() - 1)]);
      if (!UtIsEmpty(old[i])) *slot(UtHashOf(old[i]), never) = old[i];
    }
  }

  // Slots that no longer fit into a processor's second cache are better used
  // well.
  static constexpr size_t LARGE = size_t{1} << 16;
  static constexpr size_t AHEAD = 24;

  UtVector<Entry> slots_;  // size 0 or a power of two
  size_t used_ = 0;
};
