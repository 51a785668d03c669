// Equal constants share an entry, so each one is looked for before it is added.
// A table of a few entries is searched from its start, which is faster than
// hashing and takes no memory; a larger one has an index. Masks have thousands
// of programs with a handful of constants each.
#include "elut/model/constants.h"

#include <bit>
#include <cstring>

#include "Cutil/ut_hash.h"

namespace {

// A table this small is searched without an index: the many programs of a mask
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

// The index entry of an equal constant, or the empty one where `constant`
// belongs.
UtNumbered* McConstants::slot_of(const McConstant& constant, uint32_t hash) {
  return index_.slot(hash, [&](const UtNumbered& entry) {
    return entry.hash == hash && Equal(entries_[entry.number()], constant);
  });
}

// Makes entry `index` one that is found. No NaN ever is: they would only crowd
// the index.
void McConstants::enter(uint32_t index) {
  const McConstant& constant = entries_[index];
  if (!Equal(constant, constant)) return;
  const uint32_t hash = Hash(constant);
  UtNumbered* slot = slot_of(constant, hash);
  if (slot->empty()) index_.fill(slot, UtNumbered(hash, index));
}

// Lets all that are there be found, and makes room for one more.
void McConstants::make_room() {
  for (; entered_ < count(); ++entered_) {
    index_.make_room(32);
    enter(entered_);
  }
  index_.make_room(32);
}

uint32_t McConstants::add(const McConstant& constant) {
  UtNumbered* slot = nullptr;
  uint32_t hash = 0;
  if (count() < FEW_ENTRIES) {
    for (uint32_t i = 0; i < count(); i++)
      if (Equal(entries_[i], constant)) return i;
  } else {
    make_room();
    hash = Hash(constant);
    slot = slot_of(constant, hash);
    if (!slot->empty()) return slot->number();
  }
  entries_.push_back(constant);
  const uint32_t index = count() - 1;
  if (slot != nullptr) {
    entered_ = count();
    if (Equal(constant, constant)) index_.fill(slot, UtNumbered(hash, index));
  }
  return index;
}

uint32_t McConstants::add_real(double real) {
  McConstant constant = {};
  constant.type = McValueType::REAL;
  constant.real = real;
  return add(constant);
}

uint32_t McConstants::add_string(const char* text, uint32_t length,
                                 bool* added) {
  McConstant constant = {};
  constant.type = McValueType::STRING;
  constant.length = length;
  constant.text = text;
  const uint32_t before = count();
  const uint32_t index = add(constant);
  *added = count() != before;
  return index;
}
