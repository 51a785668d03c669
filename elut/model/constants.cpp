#include "elut/model/constants.h"

#include <bit>
#include <cstring>

#include "Cutil/ut_hash.h"

namespace {

constexpr size_t FEWEST_SLOTS = 32;
constexpr size_t FEWEST_ENTRIES = 16;
// A table this small is searched without slots: the many programs of a mask
// file have few constants each.
constexpr uint32_t FEW_ENTRIES = 8;

// A NaN equals nothing, itself included.
bool Equal(const McConstant& a, const McConstant& b) {
  if (a.type != b.type) return false;
  if (a.type == McValueType::REAL) return a.real == b.real;
  return a.length == b.length && memcmp(a.text, b.text, a.length) == 0;
}

uint32_t Hash(const McConstant& constant) {
  if (constant.type == McValueType::STRING)
    return UtHash(constant.text, constant.length);
  // 0.0 and -0.0 are equal but have different bits.
  const double real = constant.real == 0 ? 0.0 : constant.real;
  return static_cast<uint32_t>(UtHashMix(0, std::bit_cast<uint64_t>(real)));
}

}  // namespace

// The slot of an equal constant, or the empty one where `constant` belongs.
McConstants::Slot* McConstants::slot_of(const McConstant& constant,
                                        uint32_t hash) {
  const size_t mask = slots_.size() - 1;
  for (size_t i = hash & mask;; i = (i + 1) & mask) {
    Slot* slot = &slots_[i];
    if (slot->number == 0) return slot;
    if (slot->hash == hash && Equal(entries_[slot->number - 1], constant))
      return slot;
  }
}

// Makes entry `index` one that is found. No NaN ever is: they would only crowd
// the slots.
void McConstants::enter(uint32_t index) {
  const McConstant& constant = entries_[index];
  if (!Equal(constant, constant)) return;
  const uint32_t hash = Hash(constant);
  Slot* slot = slot_of(constant, hash);
  if (slot->number == 0) *slot = {hash, index + 1};
}

// Makes room for one more entry, and lets all that are there be found. May
// throw bad_alloc, with the table as it was.
void McConstants::make_room() {
  if (entries_.size() == entries_.capacity())
    entries_.reserve(entries_.size() * 2 + FEWEST_ENTRIES);
  if ((entries_.size() + 1) * 2 > slots_.size()) {
    const size_t size = std::bit_ceil((entries_.size() + 1) * 4);
    UtVector<Slot> slots(size < FEWEST_SLOTS ? FEWEST_SLOTS : size);
    slots_.swap(slots);
    entered_ = 0;
  }
  for (; entered_ < count(); ++entered_) enter(entered_);
}

int McConstants::add(UtArena* arena, McConstant constant, uint32_t* index) {
  *index = 0;
  return UtGuarded([&] {
    Slot* slot = nullptr;
    const uint32_t hash = Hash(constant);
    if (count() < FEW_ENTRIES) {
      for (uint32_t i = 0; i < count(); i++) {
        if (!Equal(entries_[i], constant)) continue;
        *index = i;
        return RC_OK;
      }
    } else {
      make_room();
      slot = slot_of(constant, hash);
      if (slot->number != 0) {
        *index = slot->number - 1;
        return RC_OK;
      }
    }
    if (constant.type == McValueType::STRING) {
      constant.text = arena->copy(constant.text, constant.length);
      if (constant.text == nullptr) return RC_NO_MEMORY;
    }
    entries_.push_back(constant);
    *index = count() - 1;
    if (slot == nullptr) return RC_OK;
    entered_ = count();
    if (Equal(constant, constant)) *slot = {hash, count()};
    return RC_OK;
  });
}

int McConstants::add_real(double real, uint32_t* index) {
  McConstant constant = {};
  constant.type = McValueType::REAL;
  constant.real = real;
  return add(nullptr, constant, index);
}

int McConstants::add_string(UtArena* arena, const char* text, uint32_t length,
                            uint32_t* index) {
  McConstant constant = {};
  constant.type = McValueType::STRING;
  constant.length = length;
  constant.text = text;
  return add(arena, constant, index);
}

int McConstants::append(const McConstant& constant) {
  return UtGuarded([&] {
    entries_.push_back(constant);
    return RC_OK;
  });
}

void McConstants::clear() {
  UtVector<McConstant>().swap(entries_);
  UtVector<Slot>().swap(slots_);
  entered_ = 0;
}
