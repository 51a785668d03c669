// Reads compiled files with the reader that is generated from docs/formats and
// compares every field with `quillo-tools dump --json`.
//
//   node compare.js QUILLO_TOOLS KSY FILE...
'use strict';
const {execFileSync} = require('child_process');
const fs = require('fs');
const Module = require('module');

const LONGEST = 16;  // parts of a path that is shown with all of them
const SHOWN = 4;     // parts at each end of others

async function reader(path) {
  const compiler = require('kaitai-struct-compiler');
  const format = require('yaml').parse(fs.readFileSync(path, 'utf8'));
  const files = await compiler.compile('javascript', format, null, true);
  const generated = new Module('QuilloCompiled');
  generated.paths = module.paths;
  generated._compile(files['QuilloCompiled.js'], 'QuilloCompiled.js');
  const found = generated.exports;
  return found.QuilloCompiled || found;
}

function join(parts, separator) {
  if (parts.length > LONGEST)
    parts = parts.slice(0, SHOWN)
                .concat(`(${parts.length - 2 * SHOWN})`, parts.slice(-SHOWN));
  return parts.join(separator);
}

// The fields in the order of the file: {path, offset, length, value}.
class Fields {
  constructor(root) {
    this.list = [];
    this.kinds = root.constructor.NodeKind;
    this.record(root, []);
  }

  add(steps, kinds, name, place, value) {
    let path = join(steps, '.');
    if (kinds.length > 0) path += '/' + join(kinds, '/');
    path += (path ? '.' : '') + name;
    this.list.push(
        {path, offset: place.start, length: place.end - place.start, value});
  }

  text(bytes) {
    return Buffer.from(bytes || []).toString('latin1');
  }

  // One item; false when it is a record of several.
  item(steps, kinds, name, place, value) {
    if (typeof value === 'number')
      this.add(steps, kinds, name, place, value);
    else if (['Byte', 'Short', 'SignedByte'].includes(value.constructor.name))
      this.add(steps, kinds, name, place, value.value);
    else if (value.constructor.name === 'Text')
      this.add(steps, kinds, name, place,
               value.isAbsent ? null : this.text(value.characters));
    else if (value.constructor.name === 'Block')
      this.add(steps, kinds, name, place, this.text(value.characters));
    else
      return false;
    return true;
  }

  record(record, steps) {
    for (const [key, place] of Object.entries(record._debug)) {
      const value = record[key];
      const name = key.replace(/[A-Z]/g, c => '_' + c.toLowerCase());
      if (value === undefined || key.startsWith('_')) continue;
      if (Array.isArray(value)) {
        const entry = i => key === 'entries'
            ? steps.slice(0, -1).concat(`${steps.at(-1)}[${i}]`)
            : steps.concat(`${name}[${i}]`);
        value.forEach((one, i) => this.record(one, entry(i)));
      } else if (!this.item(steps, [], name, place, value)) {
        const type = value.constructor.name;
        // What a presence is followed by, and what an editor consists of, have
        // no name of their own; nor has the program of a program file.
        const inner = type === 'Program' || type === 'MaskObject' ||
                (type === 'ProgramOrNone' && steps.length === 0)
            ? steps
            : steps.concat(name);
        if (type === 'Tree')
          this.node(value.root, inner, []);
        else
          this.record(value, inner);
      }
    }
  }

  node(node, steps, outer) {
    const place = node._debug.kind;
    if (node.kind.value === 0)
      return this.add(steps, outer, 'end', place, 0);
    const kinds = outer.concat(this.kinds[node.kind.value]);
    this.add(steps, kinds, 'kind', place, node.kind.value);
    if (node.payload !== undefined) {
      for (const [key, at] of Object.entries(node.payload._debug)) {
        const name = key.replace(/[A-Z]/g, c => '_' + c.toLowerCase());
        this.item(steps, kinds, name, at, node.payload[key]);
      }
    }
    for (const child of node.children) this.node(child, steps, kinds);
  }
}

async function main(tools, ksy, files) {
  const Reader = await reader(ksy);
  const KaitaiStream = require('kaitai-struct/KaitaiStream');
  let compared = 0;
  for (const file of files) {
    const bytes = fs.readFileSync(file);
    const root = new Reader(new KaitaiStream(bytes));
    root._read();
    const dump = JSON.parse(execFileSync(
        tools, ['dump', '--json', file], {maxBuffer: 1 << 30}));
    const fields = new Fields(root).list;
    for (let i = 0; i < Math.max(fields.length, dump.fields.length); i++) {
      const ours = dump.fields[i] || {};
      const theirs = fields[i] || {};
      for (const key of ['offset', 'length', 'path', 'value']) {
        const number = typeof theirs[key] === 'number';
        // JSON has no form for these.
        const value = number && !Number.isFinite(theirs[key])
            ? String(theirs[key]).replace('Infinity', 'inf').toLowerCase()
            : theirs[key];
        if (Object.is(value, ours[key])) continue;
        console.error(`${file}: field ${i}, ${key}: the description has`,
                      theirs, 'the dump has', ours);
        process.exit(1);
      }
      compared++;
    }
    if (!root._io.isEof()) {
      console.error(`${file}: bytes behind what the description knows`);
      process.exit(1);
    }
  }
  console.log(`${files.length} files, ${compared} fields: the same`);
}

main(process.argv[2], process.argv[3], process.argv.slice(4))
    .catch(error => {
      console.error(error);
      process.exit(1);
    });
