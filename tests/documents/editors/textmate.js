// Puts files through the TextMate grammar as VS Code does.
//
//   node textmate.js EDITORS MODULES LIST OUTPUT
//
// MODULES is the folder node_modules that holds the two packages, LIST a file
// that names the sources. OUTPUT gets lines like those of quillo_tokens, with the
// scope of each piece.
"use strict";
const fs = require("fs");
const path = require("path");
const [editors, modules, list, output] = process.argv.slice(2);
const oniguruma = require(path.join(modules, "vscode-oniguruma"));
const textmate = require(path.join(modules, "vscode-textmate"));

const GRAMMAR = path.join(editors, "vscode/syntaxes/quillo.tmLanguage.json");

async function main() {
  const wasm = path.join(modules, "vscode-oniguruma/release/onig.wasm");
  await oniguruma.loadWASM(fs.readFileSync(wasm).buffer);
  const registry = new textmate.Registry({
    onigLib: Promise.resolve({
      createOnigScanner: (patterns) => new oniguruma.OnigScanner(patterns),
      createOnigString: (text) => new oniguruma.OnigString(text),
    }),
    loadGrammar: async () =>
      textmate.parseRawGrammar(fs.readFileSync(GRAMMAR, "utf8"), GRAMMAR),
  });
  const grammar = await registry.loadGrammar("source.quillo");
  const lines = [];
  for (const file of fs.readFileSync(list, "utf8").trim().split("\n")) {
    lines.push("= " + file);
    let state = textmate.INITIAL;
    let at = 0;
    for (const line of fs.readFileSync(file, "latin1").split("\n")) {
      const result = grammar.tokenizeLine(line, state);
      state = result.ruleStack;
      for (const token of result.tokens) {
        // The second scope is that of the pattern; an escape is a third one.
        const end = Math.min(token.endIndex, line.length);
        if (token.scopes.length > 1 && token.startIndex < end)
          lines.push(`${at + token.startIndex} ${at + end} ${token.scopes[1]}`);
      }
      at += line.length + 1;
    }
  }
  fs.writeFileSync(output, lines.join("\n") + "\n");
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
