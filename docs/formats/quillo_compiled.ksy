# The compiled files, machine-readable: .cm (programs and modules) and .cg
# (masks), in both transports. The pages compiled-program-file.md and
# compiled-mask-file.md tell the same for people. Every field has the name that
# `quillo-tools dump` gives it.
meta:
  id: quillo_compiled
  title: Compiled program and mask files of quillo
  file-extension: [cm, cg]
  endian: be
seq:
  - id: header
    type: header
  - id: program
    type: program_or_none
    if: header.kind != file_kind::masks
  - id: editors
    type: editors
    if: header.kind == file_kind::masks
instances:
  is_xdr:
    value: header.transport == transport::xdr
types:
  header:
    doc: The same in both transports.
    seq:
      - id: magic
        type: u2
        valid: 0xeeee
      - id: kind
        type: u1
        enum: file_kind
      - id: major_version
        type: u1
        valid: 17
      - id: minor_version
        type: u1
        valid:
          max: 9
      - id: sub_version
        type: u1
      - id: transport
        type: u1
        enum: transport
        valid:
          any-of: [transport::xdr, transport::plain]
      - id: reserved
        type: u1

  # Items. Those of 32 and 64 bits are the same in both transports.
  byte:
    seq:
      - id: plain
        type: u1
        if: not _root.is_xdr
      - id: word
        type: u4
        valid:
          max: 0xff
        if: _root.is_xdr
    instances:
      value:
        value: '_root.is_xdr ? word : plain'
  short:
    seq:
      - id: plain
        type: u2
        if: not _root.is_xdr
      - id: word
        type: u4
        valid:
          max: 0xffff
        if: _root.is_xdr
    instances:
      value:
        value: '_root.is_xdr ? word : plain'
  signed_byte:
    seq:
      - id: plain
        type: s1
        if: not _root.is_xdr
      - id: word
        type: s4
        valid:
          min: -128
          max: 127
        if: _root.is_xdr
    instances:
      value:
        value: '_root.is_xdr ? word : plain'
  text:
    doc: |
      A text of any bytes but zero, or none: then its length is 0xffffffff. In
      XDR the length of a text that is not empty stands there twice, and zero
      bytes fill it up to a multiple of four.
    seq:
      - id: length
        type: u4
      - id: length_again
        type: u4
        valid: length
        if: has_characters and _root.is_xdr
      - id: characters
        size: length
        if: has_characters
      - id: fill
        size: (4 - length % 4) % 4
        if: has_characters and _root.is_xdr
    instances:
      is_absent:
        value: length == 0xffffffff
      has_characters:
        value: length != 0 and not is_absent
  block:
    doc: Bytes, laid out like a text that is there.
    seq:
      - id: length
        type: u4
      - id: length_again
        type: u4
        valid: length
        if: length != 0 and _root.is_xdr
      - id: characters
        size: length
        if: length != 0
      - id: fill
        size: (4 - length % 4) % 4
        if: length != 0 and _root.is_xdr

  # Programs.
  program_or_none:
    seq:
      - id: presence
        type: byte
      - id: program
        type: program
        if: presence.value == 1
  program:
    seq:
      - id: pool
        type: pool
      - id: name
        type: text
      - id: imports
        type: imports
      - id: constants
        type: constants
      - id: node_count
        type: u4
        doc: Nodes of the main body.
      - id: body
        type: tree
        doc: Missing in modules and MODULE blocks.
      - id: variables
        type: variables
      - id: commons
        type: commons
      - id: subs
        type: subs
      - id: calls
        type: calls
  pool:
    doc: Names of external variables, which EXTERN nodes refer to.
    seq:
      - id: version
        type: short
      - id: count
        type: u4
      - id: flags
        type: u4
      - id: slots
        type: slot
        repeat: expr
        repeat-expr: count
      - id: reuse_start
        type: u4
      - id: unused_start
        type: u4
      - id: used
        type: u4
        if: not owns_texts
      - id: capacity
        type: u4
        if: not owns_texts
      - id: texts
        type: block
        if: not owns_texts
    instances:
      owns_texts:
        value: (flags & 2) != 0
  slot:
    seq:
      - id: references
        type: u4
        doc: Nodes that refer to it; 0 for a free slot.
      - id: reserved
        type: u4
        doc: Bytes of its text with the closing zero.
        if: references != 0 and not _parent.owns_texts
      - id: offset
        type: u4
        doc: Of its text in pool.texts.
        if: references != 0 and not _parent.owns_texts
      - id: text
        type: block
        if: references != 0 and _parent.owns_texts
  imports:
    seq:
      - id: count
        type: short
      - id: entries
        type: import
        repeat: expr
        repeat-expr: count.value
  import:
    seq:
      - id: kind
        type: byte
        doc: 0 macro or 1 CSUB, and 0x80 for FROM FILE.
      - id: name
        type: text
      - id: source
        type: text
      - id: module
        type: text
        if: (kind.value & 0x80) == 0
  constants:
    seq:
      - id: count
        type: u4
      - id: entries
        type: constant
        repeat: expr
        repeat-expr: count
  constant:
    seq:
      - id: type
        type: byte
      - id: value
        type:
          switch-on: type.value
          cases:
            2: f8
            3: block

  # Trees.
  tree:
    doc: One node, or the kind 0 for none.
    seq:
      - id: root
        type: node
  node:
    doc: A node and its children, which a node of kind 0 ends.
    seq:
      - id: kind
        type: byte
      - id: payload
        type:
          switch-on: kind_name
          cases:
            'node_kind::var': variable_payload
            'node_kind::int': integer_payload
            'node_kind::real': constant_payload
            'node_kind::string': constant_payload
            'node_kind::func': function_payload
            'node_kind::opera': operator_payload
            'node_kind::assign': operator_payload
            'node_kind::call': call_payload
            'node_kind::refvar': variable_payload
            'node_kind::trace': line_payload
            'node_kind::unary': operator_payload
            'node_kind::refer': member_payload
            'node_kind::extern': slot_payload
            'node_kind::extind': sigil_payload
      - id: children
        type: node
        repeat: until
        repeat-until: _.kind.value == 0
        if: kind.value != 0
    instances:
      kind_name:
        value: kind.value
        enum: node_kind
  variable_payload:
    seq:
      - id: scope
        type: short
        doc: |
          2 variables of the routine, 3 its parameters, 16 and up its COMMON
          blocks.
      - id: index
        type: short
  integer_payload:
    seq:
      - id: value
        type: s4
  constant_payload:
    seq:
      - id: constant
        type: u4
  function_payload:
    seq:
      - id: function
        type: short
      - id: function_again
        type: short
  operator_payload:
    seq:
      - id: operator
        type: byte
  call_payload:
    seq:
      - id: call
        type: short
  line_payload:
    seq:
      - id: line
        type: u4
  member_payload:
    seq:
      - id: member
        type: short
  slot_payload:
    seq:
      - id: slot
        type: u4
  sigil_payload:
    seq:
      - id: sigil
        type: signed_byte

  # Tables.
  variables:
    seq:
      - id: count
        type: short
      - id: required
        type: short
      - id: entries
        type: variable
        repeat: expr
        repeat-expr: count.value
  variable:
    seq:
      - id: type
        type: byte
      - id: storage
        type: byte
      - id: dimensions
        type: byte
      - id: flags
        type: byte
        doc: 1 a range, 2 bounds.
      - id: name
        type: text
      - id: range_low
        type:
          switch-on: type.value
          cases:
            1: s4
            2: f8
        if: (flags.value & 1) != 0
      - id: range_high
        type:
          switch-on: type.value
          cases:
            1: s4
            2: f8
        if: (flags.value & 1) != 0
      - id: bounds
        type: bound
        repeat: expr
        repeat-expr: dimensions.value
        if: (flags.value & 2) != 0
  bound:
    seq:
      - id: low
        type: s4
      - id: high
        type: s4
  commons:
    seq:
      - id: count
        type: short
      - id: entries
        type: common
        repeat: expr
        repeat-expr: count.value
  common:
    seq:
      - id: variables
        type: variables
      - id: name
        type: text
  subs:
    seq:
      - id: count
        type: short
      - id: entries
        type: sub
        repeat: expr
        repeat-expr: count.value
  sub:
    seq:
      - id: name
        type: text
      - id: locals
        type: variables
      - id: parameters
        type: variables
      - id: commons
        type: commons
      - id: body
        type: tree
  calls:
    seq:
      - id: count
        type: short
      - id: entries
        type: call
        repeat: expr
        repeat-expr: count.value
  call:
    seq:
      - id: kind
        type: byte
        doc: 1 SUB of this file; 0x81 SUB, 0x82 FN and 3 CFN elsewhere.
      - id: sub
        type: short
        if: kind.value < 3
      - id: name
        type: text
        if: kind.value >= 3

  # Masks.
  editors:
    seq:
      - id: count
        type: u4
      - id: entries
        type: editor
        repeat: expr
        repeat-expr: count
  editor:
    seq:
      - id: object
        type: mask_object
      - id: sibling
        type: byte
        doc: Always 0.
        if: object.type.value != 0
  mask_object:
    doc: An object, or the type 0, which ends the objects of another.
    seq:
      - id: type
        type: byte
      - id: name
        type: block
        if: type.value != 0
      - id: attributes
        type: attributes
        if: type.value != 0
      - id: handlers
        type: handlers
        if: type.value != 0
      - id: module
        type: program_or_none
        if: type.value != 0
      - id: objects
        type: mask_object
        repeat: until
        repeat-until: _.type.value == 0
        if: type.value != 0
  attributes:
    seq:
      - id: count
        type: short
      - id: entries
        type: attribute
        repeat: expr
        repeat-expr: count.value
  attribute:
    seq:
      - id: type
        type: byte
      - id: name
        type: text
      - id: value
        type:
          switch-on: type.value
          cases:
            1: s4
            4: text
            5: text
  handlers:
    seq:
      - id: count
        type: short
      - id: entries
        type: handler
        repeat: expr
        repeat-expr: count.value
  handler:
    seq:
      - id: kind
        type: byte
      - id: events
        type: u4
      - id: key
        type: s4
      - id: attributes
        type: attributes
        if: kind.value == 1
      - id: program
        type: program_or_none
        if: kind.value == 2
enums:
  file_kind:
    1: program
    2: module
    3: masks
  transport:
    1: xdr
    4: plain
  node_kind:
    0: empty
    1: var
    2: int
    3: real
    4: string
    5: func
    6: opera
    7: assign
    8: block
    9: if
    10: while
    11: dim
    12: call
    13: refvar
    14: print
    15: trace
    16: unary
    17: return
    18: select
    19: case
    20: alloc
    21: free
    22: subex
    23: exit
    24: break
    25: cont
    26: refer
    27: extern
    28: extind
