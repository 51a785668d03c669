// Entries of a program's tables that a source adds without using them.
//
// A source adds an entry to the table of constants, to the pool of external
// names or to the table of calls when it is read for the first time, and counts
// a name each time, also where the tree that it stands in is dropped: in a
// bound, and in the subscripts of a coordinate that a variable does not have.
// A survey of the program, in the order of its source, meets the entries that
// are used, and the spots at which a source can have added others. That tells
// which entries have to be put back, and at which spot.
#ifndef TOOLS_DECOMPILE_ENTRIES_H
#define TOOLS_DECOMPILE_ENTRIES_H

#include <cstddef>
#include <cstdint>
#include <vector>

enum EntryTable : uint8_t {
  ENTRY_CONSTANT,
  ENTRY_NAME,  // of an external variable
  ENTRY_CALL,
};
inline constexpr unsigned ENTRY_TABLES = 3;

enum class EntrySpot : uint8_t {
  DECLARATIONS,  // of a routine
  REFERENCE,     // behind a variable or one of its coordinates
  // Only in masks, where the compiler forgets errors when another object or
  // handler begins:
  OPERAND,    // instead of one that is missing
  ITEM,       // in a list of expressions
  STATEMENT,  // between statements
};

class Entries {
 public:
  // Entries from `from` to `to` are put back at `spot`, in their order.
  struct Block {
    uint32_t spot;
    uint32_t from, to;
  };
  // Further uses of a name, at a spot behind its first one.
  struct Extra {
    uint32_t spot;
    uint32_t name;
    uint32_t count;
  };

  // The survey. Spots are numbered from 1.
  void spot(EntrySpot kind) {
    spots_++;
    if (kind == EntrySpot::DECLARATIONS) declarations_.push_back(spots_);
    if (kind == EntrySpot::STATEMENT) statements_.push_back(spots_);
  }
  void use(EntryTable table, uint32_t index) {
    std::vector<First>& first = first_[table];
    if (index >= first.size()) first.resize(std::size_t{index} + 1);
    if (first[index].count++ == 0) {
      first[index].rank = ++ranks_[table];
      first[index].spots = spots_;
    }
  }

  uint32_t uses(EntryTable table, uint32_t index) const {
    return index < first_[table].size() ? first_[table][index].count : 0;
  }

  static constexpr uint32_t ANY_TIMES = UINT32_MAX;
  static constexpr uint32_t AS_STATEMENT = UINT32_MAX - 1;

  // Ends the survey of a table. `counts` tells for each entry how often the
  // source has it, its uses included, or ANY_TIMES, or AS_STATEMENT for one
  // that only a statement adds. False when no spot is where an entry would have
  // to be put back; `*failed` tells which.
  [[nodiscard]] bool place(EntryTable table,
                           const std::vector<uint32_t>& counts,
                           uint32_t* failed);

  // What there is to put back, in the order of the spots.
  const std::vector<Block>& blocks(EntryTable table) const {
    return blocks_[table];
  }
  const std::vector<Extra>& extras() const { return extras_; }
  // How often names are put back, all together.
  uint64_t names_put_back() const;
  // How often an entry of a block is put back.
  uint32_t times(EntryTable table, uint32_t index) const {
    return table == ENTRY_NAME ? times_[index] : 1;
  }

 private:
  static constexpr uint32_t NEVER = UINT32_MAX;
  // The first use of an entry.
  struct First {
    uint32_t count = 0;      // of all uses
    uint32_t rank = NEVER;   // among the first uses of the table's entries
    uint32_t spots = NEVER;  // in front of it
  };
  uint32_t spot_for(const std::vector<First>& first, uint32_t index,
                    uint32_t latest, const std::vector<uint32_t>& spare) const;
  void place_extras(const std::vector<uint32_t>& spare);

  uint32_t spots_ = 0;
  std::vector<uint32_t> declarations_;  // the spots of this kind
  std::vector<uint32_t> statements_;    // and of this
  uint32_t ranks_[ENTRY_TABLES] = {0, 0, 0};
  std::vector<First> first_[ENTRY_TABLES];
  std::vector<Block> blocks_[ENTRY_TABLES];
  std::vector<uint32_t> times_;  // of the names
  std::vector<Extra> extras_;
};

#endif
