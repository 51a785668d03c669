// Entries are added in the order of their numbers. So one whose first use
// stands behind that of an entry with a higher number, or that has none, was
// added at a spot before: at the latest in front of the first use of any higher
// one. The entries are gone through from the last one, and each that needs it
// gets a spot as late as it may be, which leaves most room for those in front.
// One whose own first use is behind that spot has to go there, too.
//
// Among the spots that are late enough, declarations are preferred: that is
// where people expect something to be declared. For constants and calls any
// declarations will do; a name can only be put back as often as it is counted
// above its uses.
#include "tools/decompile/entries.h"

#include <algorithm>

namespace {

// Entries that may be put back in declarations for no other reason than that a
// later one is.
constexpr uint32_t COMPANY = 16;

// The last of some spots that is not behind `latest`, or 0.
uint32_t LastOf(const std::vector<uint32_t>& spots, uint32_t latest) {
  const auto above = std::upper_bound(spots.begin(), spots.end(), latest);
  return above == spots.begin() ? 0 : above[-1];
}

}  // namespace

// The spot at which an entry is put back that must not come behind spot
// `latest`; `spare` holds how often entries can be.
uint32_t Entries::spot_for(const std::vector<First>& first, uint32_t index,
                           uint32_t latest,
                           const std::vector<uint32_t>& spare) const {
  if (spare[index] == AS_STATEMENT) return LastOf(statements_, latest);
  const uint32_t declarations = LastOf(declarations_, latest);
  if (declarations == 0) return latest;
  uint32_t company = 0;
  for (uint32_t i = index; i > 0;) {
    const First& before = first[--i];
    const bool is_used = before.spots != NEVER;
    if (is_used && before.spots < declarations) break;
    const bool stays = spare[i] == AS_STATEMENT || (is_used && spare[i] == 0);
    if (stays || (is_used && company++ == COMPANY)) return latest;
  }
  return declarations;
}

bool Entries::place(EntryTable table, const std::vector<uint32_t>& counts,
                    uint32_t* failed) {
  std::vector<First>& first = first_[table];
  std::vector<Block>& blocks = blocks_[table];
  const auto count = static_cast<uint32_t>(counts.size());
  first.resize(count);
  std::vector<uint32_t> spare = counts;
  uint32_t rank = NEVER;     // the lowest of the entries behind
  uint32_t latest = spots_;  // spot that the entries behind allow
  uint32_t settled = NEVER;  // latest spot that has been chosen before
  bool behind = false;       // the next entry is put back, at `latest`
  for (uint32_t i = count; i-- > 0;) {
    const First& use = first[i];
    *failed = i;
    if (counts[i] < use.count) return false;
    if (counts[i] < AS_STATEMENT) spare[i] -= use.count;
  }
  for (uint32_t i = count; i-- > 0;) {
    const First& use = first[i];
    const bool last_chance = counts[i] < AS_STATEMENT && use.count > 0 &&
                             spare[i] > 0 && spots_ <= use.spots;
    const bool early = use.rank > rank || use.rank == NEVER || last_chance ||
                       (behind && latest <= use.spots);
    rank = std::min(rank, use.rank);
    if (use.spots != NEVER) latest = std::min(latest, use.spots);
    behind = early;
    if (!early) continue;
    *failed = i;
    if (spare[i] == 0) return false;
    // What was not worth it for the entry behind is not for this one.
    if (latest != settled || counts[i] == AS_STATEMENT)
      latest = spot_for(first, i, latest, spare);
    settled = latest;
    if (latest == 0) return false;
    if (counts[i] < AS_STATEMENT) spare[i]--;
    if (!blocks.empty() && blocks.back().from == i + 1 &&
        blocks.back().spot == latest)
      blocks.back().from = i;
    else
      blocks.push_back({latest, i, i + 1});
  }
  std::reverse(blocks.begin(), blocks.end());
  if (table == ENTRY_NAME) place_extras(spare);
  return true;
}

// Names that are counted more often than they are used or put back.
void Entries::place_extras(const std::vector<uint32_t>& spare) {
  const std::vector<First>& first = first_[ENTRY_NAME];
  times_.assign(spare.size(), 0);
  for (const Block& block : blocks_[ENTRY_NAME])
    for (uint32_t i = block.from; i < block.to; i++) times_[i] = 1 + spare[i];
  for (uint32_t i = 0; i < spare.size(); i++) {
    if (spare[i] == 0 || times_[i] > 0) continue;
    const bool declared =
        !declarations_.empty() && declarations_.back() > first[i].spots;
    extras_.push_back({declared ? declarations_.back() : spots_, i, spare[i]});
  }
  std::stable_sort(
      extras_.begin(), extras_.end(),
      [](const Extra& a, const Extra& b) { return a.spot < b.spot; });
}

uint64_t Entries::names_put_back() const {
  uint64_t sum = 0;
  for (const uint32_t times : times_) sum += times;
  for (const Extra& extra : extras_) sum += extra.count;
  return sum;
}
