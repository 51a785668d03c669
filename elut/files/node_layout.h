// What a node takes in a compiled file: its kind, its payload as one item or
// two, its children, and a zero kind behind them.
//
//             plain                          XDR
//   VAR       02  00 02  00 05               00000002 00000002 00000005
//   OPERA     06  01                         00000006 00000001
//
// Writing and reading are done a whole node at a time, since files consist of
// nodes, and without a branch on the kind: nodes come in any order, so that a
// processor could not foresee one.
#pragma once

#include <cstring>

#include "elut/model/node.h"
#include "util/XD_main.h"

struct McNodeLayout {
  uint8_t plain;    // bytes of kind and payload
  uint8_t xdr;      // the same in XDR
  uint8_t shift;    // of the payload, to get its first item
  uint32_t second;  // bits of the payload that are a second item
};

constexpr McNodeLayout McLayoutOf(McPayload payload) {
  switch (payload) {
    case McPayload::NONE: return {1, 4, 24, 0};
    case McPayload::VARIABLE:
    case McPayload::FUNCTION: return {5, 12, 16, 0xFFFF};
    case McPayload::INTEGER:
    case McPayload::NUMBER: return {5, 8, 0, 0};
    case McPayload::OPERATOR:
    case McPayload::SIGIL: return {2, 8, 24, 0};
    case McPayload::INDEX: return {3, 8, 16, 0};
  }
  return {};
}

inline constexpr McNodeLayout MC_NODE_LAYOUTS[] = {
#define MC_KIND(name, payload) McLayoutOf(McPayload::payload),
#include "elut/model/node_kinds.def"
#undef MC_KIND
};

// Bytes of the kind and of the end of children.
template <XdTransport TRANSPORT>
inline constexpr unsigned MC_KIND_BYTES = TRANSPORT == XD_TRANSPORT_XDR ? 4 : 1;

// Bytes of the payload of a kind.
template <XdTransport TRANSPORT>
constexpr unsigned McPayloadBytes(McNodeKind kind) {
  const McNodeLayout& layout = MC_NODE_LAYOUTS[static_cast<unsigned>(kind)];
  return (TRANSPORT == XD_TRANSPORT_XDR ? layout.xdr : layout.plain) -
         MC_KIND_BYTES<TRANSPORT>;
}

// Reading: which bits of the two words that follow a kind are its payload, and
// which of them must be zero, so that each item is a number of its width.
struct McPayloadMasks {
  uint32_t plain, first, first_zero, second_zero;
};

constexpr McPayloadMasks McMasksOf(McPayload payload) {
  const McNodeLayout layout = McLayoutOf(payload);
  if (payload == McPayload::NONE) return {};
  const unsigned unused = 32 - 8 * (layout.plain - 1u);
  uint32_t first_zero =
      layout.shift == 0 ? 0 : UINT32_MAX << (32 - layout.shift);
  // A negative one has its upper bits set.
  if (payload == McPayload::SIGIL) first_zero |= 0x80;
  return {UINT32_MAX << unused, UINT32_MAX, first_zero,
          layout.second == 0 ? 0 : ~layout.second};
}

inline constexpr McPayloadMasks MC_PAYLOAD_MASKS[] = {
#define MC_KIND(name, payload) McMasksOf(McPayload::payload),
#include "elut/model/node_kinds.def"
#undef MC_KIND
};

inline uint32_t McPeekWord(const uint8_t* bytes) {
  uint32_t word;
  memcpy(&word, bytes, sizeof word);
  return __builtin_bswap32(word);
}

// The number of the kind at `bytes`.
template <XdTransport TRANSPORT>
inline uint32_t McPeekKind(const uint8_t* bytes) {
  if constexpr (TRANSPORT == XD_TRANSPORT_XDR) return McPeekWord(bytes);
  return *bytes;
}

// Bytes behind a kind that McPeekPayload looks at.
inline constexpr size_t MC_PAYLOAD_PEEK = 8;

// The payload at `bytes`, as McNode holds it. False when an item is not, or may
// not be, a number of its width; who reads item by item finds out.
template <XdTransport TRANSPORT>
[[nodiscard]] inline bool McPeekPayload(const uint8_t* bytes, McNodeKind kind,
                                        uint32_t* payload) {
  const auto number = static_cast<unsigned>(kind);
  const McPayloadMasks& masks = MC_PAYLOAD_MASKS[number];
  const uint32_t first = McPeekWord(bytes);
  if constexpr (TRANSPORT == XD_TRANSPORT_PLAIN) {
    *payload = first & masks.plain;
    return true;
  } else {
    const McNodeLayout& layout = MC_NODE_LAYOUTS[number];
    const uint32_t second = McPeekWord(bytes + 4);
    *payload = (first & masks.first) << layout.shift | (second & layout.second);
    return ((first & masks.first_zero) | (second & masks.second_zero)) == 0;
  }
}
