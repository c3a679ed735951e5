// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: json_writer.cpp

#include "cli/output/json_writer.hpp"

#include "cli/model/blast_radius.hpp"
#include "cli/model/report_changes.hpp"
#include "cli/model/report_time.hpp"

#include <rapidjson/encodings.h>
#include <rapidjson/rapidjson.h>
#include <rapidjson/writer.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace vesk {
namespace cli {

namespace {

// An output stream for RapidJSON's Writer that collects the text in a
// buffer of its own and hands it to `out` in large blocks: the writer
// puts one character at a time, which std::ostream would make costly.
// A failed write of `out` throws at once, so a full disk stops the report
// instead of being noticed at its end.
class BufferedStream {
 public:
  using Ch = char;

  explicit BufferedStream(std::ostream& out)
      : out_(out), buffer_(new char[kSize]) {}

  void Put(char c) {
    if (size_ == kSize) Drain();
    buffer_[size_++] = c;
  }
  void Flush() { Drain(); }

 private:
  static constexpr std::size_t kSize = std::size_t{1} << 16;

  void Drain() {
    if (size_ == 0) return;
    out_.write(buffer_.get(), static_cast<std::streamsize>(size_));
    size_ = 0;
    if (!out_) throw std::runtime_error("cannot write the JSON report");
  }

  std::ostream& out_;
  std::unique_ptr<char[]> buffer_;
  std::size_t size_ = 0;
};

// Strings are checked to be UTF-8 as they are written: the input readers
// accept nothing else, so a failure here is a fault, and the report is
// refused rather than written as text that is not JSON.
using Writer = rapidjson::Writer<BufferedStream, rapidjson::UTF8<>,
                                 rapidjson::UTF8<>, rapidjson::CrtAllocator,
                                 rapidjson::kWriteValidateEncodingFlag>;

// The report's fields through a Writer whose every call is checked.
class Emitter {
 public:
  explicit Emitter(BufferedStream& stream) : writer_(stream) {}

  void begin_object() { check(writer_.StartObject()); }
  void end_object() { check(writer_.EndObject()); }
  void begin_array() { check(writer_.StartArray()); }
  void end_array() { check(writer_.EndArray()); }

  // Starts the member `name`; its value is written next.
  void key(char const* name) {
    key_ = name;
    check(writer_.Key(name));
  }

  void string(std::string_view text) {
    if (text.size() > std::numeric_limits<rapidjson::SizeType>::max()) {
      throw std::runtime_error(std::string("cannot write the JSON report: \"") +
                               key_ + "\" holds a text that is too long");
    }
    if (!writer_.String(text.data(),
                        static_cast<rapidjson::SizeType>(text.size()))) {
      throw std::runtime_error(std::string("cannot write the JSON report: \"") +
                               key_ + "\" holds a text that is not UTF-8");
    }
  }
  void string(char const* text) { check(writer_.String(text)); }
  void null() { check(writer_.Null()); }
  void boolean(bool value) { check(writer_.Bool(value)); }
  void integer(std::int64_t value) { check(writer_.Int64(value)); }
  void index(std::size_t value) {
    check(writer_.Uint64(static_cast<std::uint64_t>(value)));
  }
  // The shortest text that reads back as the same double.
  void number(double value) { check(writer_.Double(value)); }

  // The members of the current object, one call per member.
  void member(char const* name, std::string_view text) {
    key(name);
    string(text);
  }
  void member(char const* name, char const* text) {
    key(name);
    string(text);
  }
  void member(char const* name, std::int64_t value) {
    key(name);
    integer(value);
  }
  void member(char const* name, int value) {
    member(name, std::int64_t{value});
  }
  void member_index(char const* name, std::size_t value) {
    key(name);
    index(value);
  }
  void member_bool(char const* name, bool value) {
    key(name);
    boolean(value);
  }
  // A text, or null when it is empty.
  void member_or_null(char const* name, std::string const& text) {
    key(name);
    if (text.empty()) {
      null();
    } else {
      string(text);
    }
  }

  void strings(std::vector<std::string> const& texts) {
    begin_array();
    for (auto const& text : texts) string(text);
    end_array();
  }
  void indexes(std::vector<std::size_t> const& values) {
    begin_array();
    for (std::size_t value : values) index(value);
    end_array();
  }

  bool complete() const { return writer_.IsComplete(); }

 private:
  // Only a string can fail on its own; anything else failing means the
  // calls above were not nested as JSON needs.
  void check(bool ok) const {
    if (!ok) {
      throw std::runtime_error(std::string("cannot write the JSON report: \"") +
                               key_ + "\" was not written");
    }
  }

  Writer writer_;
  char const* key_ = "";
};

void write_section_count(Emitter& json, SectionCount const& section) {
  json.begin_object();
  json.member("diagnoses", section.diagnoses);
  json.member("observations", section.observations);
  json.member("total", std::int64_t{section.diagnoses} + section.observations);
  json.key("bands");
  json.begin_array();
  for (auto const& band : section.bands) {
    json.begin_object();
    json.member("band", band_name(band.band));
    json.member("diagnoses", band.diagnoses);
    json.member("observations", band.observations);
    json.member("total", std::int64_t{band.diagnoses} + band.observations);
    json.end_object();
  }
  json.end_array();
  json.end_object();
}

// With a baseline: how the issue stands against it.
void write_issue_change(Emitter& json, IssueComparison const& compared) {
  json.member("change", change_name(compared.change));
  json.member("first_seen", compared.first_seen);
  if (compared.change != IssueChange::kPersisting) return;
  json.key("nodes_gained");
  json.strings(compared.nodes_gained);
  json.key("nodes_lost");
  json.strings(compared.nodes_lost);
}

// The issue's reach over the tested nodes and their groups.
void write_blast_radius(Emitter& json, BlastRadius const& radius) {
  json.begin_object();
  json.member_index("nodes", radius.nodes);
  json.member_index("nodes_tested", radius.nodes_tested);
  json.key("share");
  json.number(radius.share);
  json.key("groups");
  json.begin_array();
  for (auto const& cover : radius.groups) {
    json.begin_object();
    json.member("group", cover.group);
    json.member_index("nodes", cover.nodes);
    json.member_index("group_size", cover.group_size);
    json.member_bool("filled", cover.filled);
    json.end_object();
  }
  json.end_array();
  json.end_object();
}

void write_issue(Emitter& json, ReportIssue const& issue,
                 BlastRadiusIndex const& blast_radius,
                 ReportChanges const* changes) {
  json.begin_object();
  json.member_index("ref", issue.ref);
  json.member("section", issue.fail_side ? "fail" : "other");
  json.member("number", issue.number);
  json.member("id", issue.id);
  json.member("kind", kind_name(issue.kind));
  json.member("severity", issue.severity);
  json.member("band", band_name(issue.band));
  json.member("message", issue.message);
  json.member("remedy", issue.remedy);
  json.key("nodes");
  json.begin_array();
  for_each_node_group(issue, [&](std::vector<std::string> const& group) {
    json.strings(group);
  });
  json.end_array();
  json.member_index("node_count", issue.nodes.size());
  json.member("nodes_text", issue.nodes_text);
  json.key("row_ids");
  json.begin_array();
  for (int row : issue.row_ids) json.integer(row);
  json.end_array();
  json.key("framework_definitions");
  json.strings(issue.framework_definitions);
  json.key("based_on");
  json.indexes(issue.based_on);
  json.key("explains");
  json.indexes(issue.explains);
  json.key("blast_radius");
  write_blast_radius(json, blast_radius.of(issue));
  if (changes != nullptr)
    write_issue_change(json, changes->issues.at(issue.ref));
  json.end_object();
}

void write_definition(Emitter& json, ReportDefinition const& definition) {
  json.begin_object();
  json.member("name", definition.name);
  json.member("title", definition.title);
  json.member_or_null("verdict", definition.verdict);
  json.member_bool("skipped", definition.skipped);
  json.key("counts");
  json.begin_object();
  json.member("fail", definition.fail_issues);
  json.member("other", definition.other_issues);
  json.end_object();
  json.end_object();
}

// With a baseline, after the fields every report has: the earlier run,
// the issues resolved since, the nodes that changed, the node histories.
void write_changes(Emitter& json, ReportChanges const& changes) {
  json.key("baseline");
  json.begin_object();
  json.member("path", changes.baseline_path);
  json.member("generated_at", changes.baseline_generated_at);
  json.member("schema_version", changes.baseline_schema_version);
  json.end_object();

  json.key("resolved_issues");
  json.begin_array();
  for (auto const& issue : changes.resolved) {
    json.begin_object();
    json.member("id", issue.id);
    json.member("kind", kind_name(issue.kind));
    json.member("message", issue.message);
    json.key("nodes");
    json.strings(issue.nodes);
    json.member("first_seen", issue.first_seen);
    json.end_object();
  }
  json.end_array();

  json.key("node_changes");
  json.begin_object();
  json.key("new");
  json.strings(changes.new_nodes);
  json.key("recovered");
  json.strings(changes.recovered_nodes);
  json.end_object();

  json.key("node_history");
  json.begin_object();
  json.member("run_count", changes.history_runs);
  json.key("nodes");
  json.begin_array();
  for (auto const& entry : changes.history) {
    json.begin_object();
    json.member("node", entry.node);
    json.key("runs");
    json.begin_array();
    for (int i = 0; i < entry.history.size(); ++i) {
      json.boolean(entry.history.at(i));
    }
    json.end_array();
    json.member_bool("flapping", entry.history.flapping());
    json.end_object();
  }
  json.end_array();
  json.end_object();
}

}  // namespace

void write_json_report(ReportModel const& model, std::ostream& out) {
  BufferedStream stream(out);
  Emitter json(stream);
  json.begin_object();
  json.member("schema_version", kJsonSchemaVersion);
  json.member("generator", model.run.generator);
  json.member("generated_at", rfc3339_utc(model.generated_at));

  json.key("inputs");
  json.begin_array();
  for (auto const& input : model.run.inputs) {
    json.begin_object();
    json.member("format", input.format);
    json.member("path", input.path);
    json.end_object();
  }
  json.end_array();

  json.member("threshold", model.threshold);
  // The summary prints "FAIL Level" only for a threshold that a document or
  // the command line set.
  json.member_or_null("fail_level", model.fail_level);
  json.member("result", model.passed ? "PASS" : "FAIL");

  json.key("nodes");
  json.begin_object();
  json.key("tested");
  json.strings(model.nodes_tested);
  json.key("with_issues");
  json.strings(model.nodes_with_issues);
  json.member("tested_text", model.nodes_tested_text);
  json.member("with_issues_text", model.nodes_with_issues_text);
  json.end_object();

  json.key("counts");
  json.begin_object();
  json.key("fail");
  write_section_count(json, model.fail);
  json.key("other");
  write_section_count(json, model.other);
  json.end_object();

  json.member("suppressed", model.suppressed);
  json.key("skipped_definitions");
  json.strings(model.skipped_definitions);

  json.key("issues");
  json.begin_array();
  BlastRadiusIndex const blast_radius(model);
  for (auto const& issue : model.issues) {
    write_issue(json, issue, blast_radius, model.changes.get());
  }
  json.end_array();

  json.key("framework_definitions");
  json.begin_array();
  for (auto const& definition : model.framework_definitions) {
    write_definition(json, definition);
  }
  json.end_array();
  if (model.changes) write_changes(json, *model.changes);
  json.end_object();

  if (!json.complete()) {
    throw std::runtime_error("cannot write the JSON report: it is incomplete");
  }
  stream.Put('\n');
  stream.Flush();
  out.flush();
  if (!out) throw std::runtime_error("cannot write the JSON report");
}

}  // namespace cli
}  // namespace vesk
