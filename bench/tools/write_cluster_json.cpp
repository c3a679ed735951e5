// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Writes the synthetic cluster of the benchmarks (1,000,000 raw results on
// 10,000 nodes by default) as an analysis result document for vesk-report,
// for bench/e2e.sh.
//
//   write_cluster_json FILE [RAW_OUTPUTS]

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/synthetic_cluster.hpp"
#include "vesk/common/config.hpp"

namespace {

// Buffered writer of JSON text.
class JsonWriter {
 public:
  explicit JsonWriter(std::FILE* file) : file_(file) {
    std::setvbuf(file_, nullptr, _IOFBF, 1 << 20);
  }

  void raw(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), file_);
  }

  void string(std::string_view text) {
    std::fputc('"', file_);
    for (char const c : text) {
      switch (c) {
        case '"':
          raw("\\\"");
          break;
        case '\\':
          raw("\\\\");
          break;
        case '\n':
          raw("\\n");
          break;
        case '\t':
          raw("\\t");
          break;
        default:
          if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x",
                          static_cast<unsigned>(c));
            raw(escaped);
          } else {
            std::fputc(c, file_);
          }
      }
    }
    std::fputc('"', file_);
  }

  void number(long long value) { std::fprintf(file_, "%lld", value); }

  template <typename Strings>
  void strings(Strings const& list) {
    raw("[");
    bool first = true;
    for (auto const& text : list) {
      if (!first) raw(", ");
      first = false;
      string(text);
    }
    raw("]");
  }

 private:
  std::FILE* file_;
};

void write_outputs(
    JsonWriter& w, char const* key,
    std::vector<std::shared_ptr<vesk::AnalysisOutput>> const& outputs) {
  w.raw(",\n  ");
  w.string(key);
  w.raw(": [");
  bool first = true;
  for (auto const& o : outputs) {
    w.raw(first ? "\n    {\"id\": " : ",\n    {\"id\": ");
    first = false;
    w.string(o->id);
    w.raw(", \"message\": ");
    w.string(o->message);
    if (!o->remedy.empty()) {
      w.raw(", \"remedy\": ");
      w.string(o->remedy);
    }
    w.raw(", \"severity\": ");
    w.number(o->severity);
    w.raw(", \"nodes\": ");
    w.strings(o->nodes);
    if (o->suppressed) w.raw(", \"suppressed\": true");
    if (!o->row_ids.empty()) {
      w.raw(", \"row_ids\": [");
      bool first_row = true;
      for (int const row : o->row_ids) {
        if (!first_row) w.raw(", ");
        first_row = false;
        w.number(row);
      }
      w.raw("]");
    }
    w.raw("}");
  }
  w.raw("\n  ]");
}

void write_lists(JsonWriter& w, char const* key,
                 std::map<std::string, std::vector<std::string>> const& map) {
  w.raw(",\n  ");
  w.string(key);
  w.raw(": {");
  bool first = true;
  for (auto const& [name, list] : map) {
    w.raw(first ? "\n    " : ",\n    ");
    first = false;
    w.string(name);
    w.raw(": ");
    w.strings(list);
  }
  w.raw("\n  }");
}

void write_document(JsonWriter& w, vesk::Config const& config) {
  w.raw("{\n  \"overall_pass\": ");
  w.raw(config.overall_pass ? "true" : "false");
  w.raw(",\n  \"severity_threshold\": ");
  w.number(config.severity_threshold);
  w.raw(",\n  \"config_text\": ");
  w.string(config.config_text);
  w.raw(",\n  \"name_list\": ");
  w.strings(config.name_list);
  w.raw(",\n  \"nodes\": [");
  bool first = true;
  for (auto const& node : config.nodes) {
    w.raw(first ? "\n    {\"name\": " : ",\n    {\"name\": ");
    first = false;
    w.string(node.name);
    w.raw(", \"hostname\": ");
    w.string(node.hostname);
    w.raw(", \"roles\": ");
    w.strings(node.roles);
    w.raw(", \"groups\": ");
    w.strings(node.groups);
    w.raw("}");
  }
  w.raw("\n  ]");
  write_outputs(w, "diagnoses", config.diagnoses);
  write_outputs(w, "observations", config.observations);
  write_outputs(w, "secondary_observations", config.secondary_observations);
  write_lists(w, "diagnosis_observations", config.diagnosis_observations);
  write_lists(w, "observation_signs", config.observation_signs);
  w.raw(",\n  \"framework_definitions\": [");
  first = true;
  for (auto const& name : config.fwd_attributes->fwd_name_order) {
    auto const& fwd = *config.fwd_attributes->fwds.at(name);
    w.raw(first ? "\n    {\"name\": " : ",\n    {\"name\": ");
    first = false;
    w.string(fwd.name);
    w.raw(", \"title\": ");
    w.string(fwd.title);
    w.raw(", \"rules\": ");
    w.strings(fwd.rule_names);
    if (fwd.skipped) w.raw(", \"skipped\": true");
    if (fwd.node) {
      w.raw(", \"children\": [");
      bool first_branch = true;
      for (auto const& branch : fwd.node->branches) {
        if (!first_branch) w.raw(", ");
        first_branch = false;
        std::vector<std::string> names;
        for (auto const& child : branch) {
          names.push_back(child->fwd.lock()->name);
        }
        w.strings(names);
      }
      w.raw("]");
    }
    w.raw("}");
  }
  w.raw("\n  ]\n}\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::cerr << "usage: write_cluster_json FILE [RAW_OUTPUTS]\n";
    return 2;
  }
  vesk::bench::ClusterShape shape;
  if (argc == 3) shape.raw_outputs = std::strtoull(argv[2], nullptr, 10);
  vesk::Config const config = vesk::bench::make_cluster(shape);
  std::FILE* file = std::fopen(argv[1], "wb");
  if (file == nullptr) {
    std::perror(argv[1]);
    return 1;
  }
  JsonWriter writer(file);
  write_document(writer, config);
  if (std::fclose(file) != 0) {
    std::perror(argv[1]);
    return 1;
  }
  return 0;
}
