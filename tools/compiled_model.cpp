// The header says which reader is the right one.
#include "tools/compiled_model.h"

#include <algorithm>

#include "Cutil/codes.h"
#include "elut/files/mask_file.h"
#include "elut/files/program_file.h"

namespace {

int Read(std::string_view bytes, CompiledModel* model) {
  if (const int code = XdReadHeader(bytes, &model->header)) return code;
  if (model->header.kind == XD_KIND_MASK)
    return MaskListReadFromBytes(bytes, &model->list);
  return McXdrReadFromBytes(bytes, &model->program);
}

}  // namespace

std::string ReadCompiled(std::string_view bytes, CompiledModel* model) {
  switch (Read(bytes, model)) {
    case RC_OK: return {};
    case RC_NO_MEMORY: throw std::bad_alloc();
    case RC_HEADER_MAGIC:
    case RC_HEADER_READ: return "not a compiled file";
    case RC_HEADER_VERSION: return "a compiled file of another version";
    case RC_INVALID: return "a transport that no compiled file has";
    default: return "damaged; 'quillo-tools validate' tells where";
  }
}

bool CompiledModel::is_traced() const {
  const McNodes& nodes = is_mask() ? list.store.nodes : program->store->nodes;
  for (McNodeRef node = 0; node < nodes.count(); node++)
    if (nodes[node].kind() == McNodeKind::TRACE) return true;
  return false;
}

bool ByteComparison::write(const uint8_t* bytes, size_t count) {
  const std::string_view got(reinterpret_cast<const char*>(bytes), count);
  const std::string_view here = expected_.substr(at_, count);
  const auto differ =
      std::mismatch(got.begin(), got.end(), here.begin(), here.end()).first;
  at_ += static_cast<size_t>(differ - got.begin());
  return same_ = differ == got.end();
}

bool WritesTheSame(CompiledModel* model, int transport,
                   std::string_view bytes) {
  ByteComparison comparison(bytes);
  const int code =
      model->is_mask()
          ? MaskListWriteToSink(&model->list, transport, &comparison)
          : McXdrWriteToSink(model->program.get(), transport, &comparison);
  return code == RC_OK && comparison.same();
}
