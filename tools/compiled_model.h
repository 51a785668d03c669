// A compiled file of either kind as the compiler's own readers see it.
#ifndef TOOLS_COMPILED_MODEL_H
#define TOOLS_COMPILED_MODEL_H

#include <string>
#include <string_view>

#include "elut/model/mask_objects.h"
#include "elut/model/program.h"
#include "util/xd_header.h"

struct CompiledModel {
  AttributeNames names;
  EditorList list{&names};
  UtPtr<McProgram> program;  // nullptr: masks
  XdHeader header = {};

  bool is_mask() const { return program == nullptr; }
  // True when a statement has its line recorded.
  bool is_traced() const;
};

// Returns why the bytes cannot be read, empty when they could. Throws
// bad_alloc.
std::string ReadCompiled(std::string_view bytes, CompiledModel* model);

// Compares what is written with bytes that are expected, as far as they agree.
class ByteComparison : public XdSink {
 public:
  explicit ByteComparison(std::string_view expected) : expected_(expected) {}
  [[nodiscard]] bool write(const uint8_t* bytes, size_t count) override;
  bool same() const { return same_ && at_ == expected_.size(); }
  size_t first_difference() const { return at_; }

 private:
  std::string_view expected_;
  size_t at_ = 0;
  bool same_ = true;
};

// True when the model, written in that transport, is these bytes.
[[nodiscard]] bool WritesTheSame(CompiledModel* model, int transport,
                                 std::string_view bytes);

#endif
