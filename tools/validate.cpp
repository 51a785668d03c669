// validate: is that a sound compiled file, and if not, what is wrong where?
#include <cstdio>
#include <string>
#include <vector>

#include "tools/command.h"
#include "tools/compiled/check.h"
#include "tools/output.h"

namespace {

struct Validate {
  bool json = false;
  std::vector<std::string> files;
};

const char* GradeName(CompiledGrade grade) {
  return grade == CompiledGrade::UNREADABLE ? "unreadable" : "unsound";
}

//   a.cm:0x1a: subs[3].body/IF/ASSIGN/VAR.index: 7, expected 0 to 2
void PrintFinding(ToolOutput* out, const std::string& file,
                  const CompiledTrouble& trouble) {
  out->put(file);
  out->put(":0x");
  out->hex(trouble.offset, 1);
  out->put(": ");
  if (!trouble.path.empty()) {
    out->put(trouble.path);
    out->put(": ");
  }
  out->put(trouble.found);
  out->put(", expected ");
  out->put(trouble.expected);
  out->put('\n');
}

void JsonFinding(ToolJson* json, const CompiledTrouble& trouble) {
  json->begin_object();
  json->key("offset").number(trouble.offset);
  json->key("path").text(trouble.path);
  json->key("grade").text(GradeName(trouble.grade));
  json->key("found").text(trouble.found);
  json->key("expected").text(trouble.expected);
  json->end_object();
}

int Run(const Validate& options) {
  ToolStdout out;
  ToolJson json(&out);
  int status = TOOL_FINE;
  if (options.json) {
    json.begin_object();
    json.key("version").number(1);
    json.key("files").begin_array();
  }
  for (const std::string& file : options.files) {
    UtString bytes;
    const bool read = ToolRead(file, &bytes);
    if (options.json) {
      json.begin_object();
      json.key("file").text(file);
    }
    if (!read) {
      status = TOOL_TROUBLE;
      if (!options.json) continue;
      json.key("error").text("cannot be read");
      json.key("valid").boolean(false);
      json.end_object();
      continue;
    }
    uint64_t findings = 0;
    if (options.json) json.key("findings").begin_array();
    CompiledCheck(bytes, [&](const CompiledTrouble& trouble) {
      findings++;
      if (options.json)
        JsonFinding(&json, trouble);
      else
        PrintFinding(&out, file, trouble);
    });
    if (options.json) {
      json.end_array();
      json.key("valid").boolean(findings == 0);
      json.end_object();
    }
    if (findings > 0 && status == TOOL_FINE) status = TOOL_NO;
  }
  if (options.json) {
    json.end_array();
    json.end_object();
  }
  return out.finish() ? status : TOOL_TROUBLE;
}

}  // namespace

void AddValidate(CLI::App* app, int* status) {
  auto options = std::make_shared<Validate>();
  CLI::App* command = app->add_subcommand(
      "validate", "Check compiled files, and say what is wrong where");
  command->add_flag("--json", options->json, "Print the findings as JSON");
  command->add_option("FILE", options->files, "Compiled files")->required();
  command->callback([options, status] { *status = Run(*options); });
}
