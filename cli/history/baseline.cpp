// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: baseline.cpp
//
// The report is walked once, front to back. Its schema_version normally
// comes first (the JSON writer puts it there) and is checked as soon as it
// is met; when the walk fails before it has met one, the top object is
// scanned for it once more, so that a report of another major version, or
// a file that is no report at all, is named as such rather than by the
// first field whose shape differs.

#include "cli/history/baseline.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "cli/history/history_dir.hpp"
#include "cli/history/host_gaps.hpp"
#include "cli/input/byte_source.hpp"
#include "cli/input/host_name.hpp"
#include "cli/input/input_error.hpp"
#include "cli/input/json_reader.hpp"
#include "cli/model/report_time.hpp"

#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

namespace ondemand = simdjson::ondemand;

constexpr char const* kNotAReport =
    "expected a JSON report of vesk-report (--report json), found no "
    "\"schema_version\"";

// "MAJOR.MINOR", each a run of digits.
bool is_version(std::string_view text) {
  std::size_t const dot = text.find('.');
  if (dot == std::string_view::npos || dot == 0 || dot + 1 == text.size()) {
    return false;
  }
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (i != dot && (text[i] < '0' || text[i] > '9')) return false;
  }
  return true;
}

// Refuses a schema_version that is not "1.MINOR".
void check_version(std::string const& version, std::string const& place) {
  if (!is_version(version)) {
    throw InputError(
        place,
        "expected a schema version \"MAJOR.MINOR\", found \"" + version + "\"");
  }
  if (version.substr(0, version.find('.')) != "1") {
    throw InputError(
        place,
        "expected a report of schema version 1.x, found \"" + version + "\"");
  }
}

std::optional<IssueKind> kind_of(std::string_view name) {
  if (name == "diagnosis") return IssueKind::kDiagnosis;
  if (name == "observation") return IssueKind::kObservation;
  if (name == "secondary_observation") {
    return IssueKind::kSecondaryObservation;
  }
  return std::nullopt;
}

void sort_unique(std::vector<std::string>& names) {
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
}

// The walk of one report.
class BaselineReader {
 public:
  explicit BaselineReader(JsonReader& json) : json_(json) {}

  void read(simdjson::padded_string_view bytes, Baseline& baseline) {
    hosts_ = &baseline.hosts;
    ondemand::object root = json_.open(bytes);
    bool has_time = false;
    bool has_nodes = false;
    bool has_issues = false;
    json_.for_each_member(
        root, [&](std::string const& key, ondemand::value& value) {
          if (key == "schema_version") {
            baseline.schema_version = json_.get_string(value);
            check_version(baseline.schema_version, json_.path());
            version_seen_ = true;
          } else if (key == "generated_at") {
            baseline.generated_at = get_time(value);
            has_time = true;
          } else if (key == "nodes") {
            read_nodes(value, baseline);
            has_nodes = true;
          } else if (key == "issues") {
            json_.for_each_element(
                value, "an array of issues", [&](ondemand::value& issue) {
                  baseline.issues.push_back(read_issue(issue));
                });
            has_issues = true;
          } else if (key == "node_history") {
            read_history(value, baseline);
            baseline.has_history = true;
          } else if (key == "host_table") {
            read_host_table(value);
          } else {
            json_.check_value(value);
          }
        });
    json_.finish();
    if (!version_seen_) throw InputError("", kNotAReport);
    if (!has_time) json_.fail("expected the required key \"generated_at\"");
    if (!has_nodes) json_.fail("expected the required key \"nodes\"");
    if (!has_issues) json_.fail("expected the required key \"issues\"");
  }

  bool version_seen() const { return version_seen_; }

 private:
  std::string get_time(ondemand::value& value) {
    std::string text = json_.get_string(value);
    if (!is_report_time(text)) {
      json_.fail("expected a UTC time \"YYYY-MM-DDTHH:MM:SSZ\", found \"" +
                 text + "\"");
    }
    return text;
  }

  void read_nodes(ondemand::value& value, Baseline& baseline) {
    bool has_with_issues = false;
    json_.for_each_member(
        value, "an object", [&](std::string const& key, ondemand::value& item) {
          if (key == "with_issues") {
            json_.for_each_element(
                item, "an array of strings", [&](ondemand::value& name) {
                  baseline.nodes_with_issues.push_back(host_name(name));
                });
            has_with_issues = true;
          } else {
            json_.check_value(item);
          }
        });
    if (!has_with_issues) {
      json_.fail("expected the required key \"with_issues\"");
    }
    sort_unique(baseline.nodes_with_issues);
  }

  BaselineIssue read_issue(ondemand::value& value) {
    BaselineIssue issue;
    bool has_kind = false;
    bool has_id = false;
    bool has_message = false;
    bool has_nodes = false;
    json_.for_each_member(
        value, "an issue object",
        [&](std::string const& key, ondemand::value& item) {
          if (key == "kind") {
            std::string const name = json_.get_string(item);
            std::optional<IssueKind> kind = kind_of(name);
            if (!kind) {
              json_.fail(
                  "expected \"diagnosis\", \"observation\" or "
                  "\"secondary_observation\", found \"" +
                  name + "\"");
            }
            issue.kind = *kind;
            has_kind = true;
          } else if (key == "id") {
            issue.id = json_.get_string(item);
            has_id = true;
          } else if (key == "message") {
            issue.message = json_.get_string(item);
            has_message = true;
          } else if (key == "message_template") {
            issue.message_template = json_.get_string(item);
          } else if (key == "nodes") {
            json_.for_each_element(
                item, "an array of node lists", [&](ondemand::value& group) {
                  json_.for_each_element(group, "an array of strings",
                                         [&](ondemand::value& name) {
                                           issue.nodes.push_back(host(name));
                                         });
                });
            has_nodes = true;
          } else if (key == "host_gaps") {
            read_host_gaps(item, issue);
            has_nodes = true;
          } else if (key == "node_counts") {
            std::string_view text;
            if (simdjson::error_code e = item.get_string().get(text)) {
              json_.fail_json(e, "a string");
            }
            try {
              issue.node_counts = decode_node_counts(
                  text, static_cast<std::size_t>(kMaxHistoryKeep));
            } catch (std::invalid_argument const& e) {
              json_.fail(e.what());
            }
          } else if (key == "first_seen") {
            issue.first_seen = get_time(item);
          } else {
            json_.check_value(item);
          }
        });
    if (!has_kind) json_.fail("expected the required key \"kind\"");
    if (!has_id) json_.fail("expected the required key \"id\"");
    if (!has_message) json_.fail("expected the required key \"message\"");
    if (!has_nodes) json_.fail("expected the required key \"nodes\"");
    std::sort(issue.nodes.begin(), issue.nodes.end());
    issue.nodes.erase(std::unique(issue.nodes.begin(), issue.nodes.end()),
                      issue.nodes.end());
    return issue;
  }

  // A host name of an issue, as its index in the host table. The same few
  // names come again and again, so a name is decoded into the parser's own
  // buffer and only looked up; the reader's own copy, with its control
  // characters made visible, is made only for a name that has one.
  std::uint32_t host(ondemand::value& value) {
    std::string_view name;
    if (simdjson::error_code e = value.get_string().get(name)) {
      json_.fail_json(e, "a string");
    }
    std::size_t const known = hosts_->size();
    std::uint32_t const index =
        may_hold_controls(name)
            ? hosts_->index(visible_controls(std::string(name)))
            : hosts_->index(name);
    // A name is checked once, when the table first takes it, and as it
    // will be folded: an escape such as "\x01" adds digits.
    if (hosts_->size() != known) {
      std::string const& added = hosts_->name(index);
      if (!host_numbers_fit(added)) json_.fail(host_numbers_error(added));
    }
    return index;
  }

  // A history record's host table: each name's index in the baseline's.
  void read_host_table(ondemand::value& value) {
    json_.for_each_element(
        value, "an array of strings",
        [&](ondemand::value& name) { record_hosts_.push_back(host(name)); });
    has_host_table_ = true;
  }

  // A history record's issue's hosts, as gaps over its host table.
  void read_host_gaps(ondemand::value& value, BaselineIssue& issue) {
    if (!has_host_table_) {
      json_.fail("expected the record's \"host_table\" before its issues");
    }
    std::string_view text;
    if (simdjson::error_code e = value.get_string().get(text)) {
      json_.fail_json(e, "a string");
    }
    try {
      for (std::uint32_t const index : decode_host_gaps(
               text, static_cast<std::uint32_t>(record_hosts_.size()))) {
        issue.nodes.push_back(record_hosts_[index]);
      }
    } catch (std::invalid_argument const& e) {
      json_.fail(e.what());
    }
  }

  // A host name outside the issues: nodes with issues, node histories.
  std::string host_name(ondemand::value& value) {
    std::string name = json_.get_string(value);
    if (!host_numbers_fit(name)) json_.fail(host_numbers_error(name));
    return name;
  }

  void read_history(ondemand::value& value, Baseline& baseline) {
    bool has_count = false;
    bool has_nodes = false;
    json_.for_each_member(
        value, "an object", [&](std::string const& key, ondemand::value& item) {
          if (key == "run_count") {
            std::int32_t const count = json_.get_int32(item);
            if (count < 1 || count > NodeHistory::kMaxRuns) {
              json_.fail("expected a number of runs from 1 to " +
                         std::to_string(NodeHistory::kMaxRuns));
            }
            baseline.history_runs = count;
            has_count = true;
          } else if (key == "nodes") {
            json_.for_each_element(
                item, "an array of node histories", [&](ondemand::value& node) {
                  baseline.nodes.push_back(read_node_history(node));
                });
            has_nodes = true;
          } else {
            json_.check_value(item);
          }
        });
    if (!has_count) json_.fail("expected the required key \"run_count\"");
    if (!has_nodes) json_.fail("expected the required key \"nodes\"");
    std::sort(baseline.nodes.begin(), baseline.nodes.end(),
              [](BaselineNode const& a, BaselineNode const& b) {
                return a.node < b.node;
              });
    auto const twin =
        std::adjacent_find(baseline.nodes.begin(), baseline.nodes.end(),
                           [](BaselineNode const& a, BaselineNode const& b) {
                             return a.node == b.node;
                           });
    if (twin != baseline.nodes.end()) {
      json_.fail("expected each node once, found \"" + twin->node + "\" again");
    }
  }

  BaselineNode read_node_history(ondemand::value& value) {
    BaselineNode node;
    bool has_node = false;
    bool has_runs = false;
    json_.for_each_member(value, "a node history object",
                          [&](std::string const& key, ondemand::value& item) {
                            if (key == "node") {
                              node.node = host_name(item);
                              has_node = true;
                            } else if (key == "runs") {
                              json_.for_each_element(
                                  item, "an array of true or false",
                                  [&](ondemand::value& run) {
                                    node.history.push(json_.get_bool(run));
                                  });
                              has_runs = true;
                            } else {
                              json_.check_value(item);
                            }
                          });
    if (!has_node) json_.fail("expected the required key \"node\"");
    if (!has_runs) json_.fail("expected the required key \"runs\"");
    return node;
  }

  JsonReader& json_;
  HostTable* hosts_ = nullptr;
  bool version_seen_ = false;
  // A history record's host table, as indexes into *hosts_.
  std::vector<std::uint32_t> record_hosts_;
  bool has_host_table_ = false;
};

// The top object's schema_version, looked for without walking the rest;
// nothing when the file cannot be walked that far or has none.
std::optional<std::string> find_version(simdjson::padded_string_view bytes) {
  ondemand::parser parser;
  ondemand::document doc;
  if (parser.iterate(bytes).get(doc) != simdjson::SUCCESS) return std::nullopt;
  ondemand::object root;
  if (doc.get_object().get(root) != simdjson::SUCCESS) return std::nullopt;
  for (auto member : root) {
    ondemand::field field;
    if (std::move(member).get(field) != simdjson::SUCCESS) return std::nullopt;
    std::string_view key;
    if (field.unescaped_key().get(key) != simdjson::SUCCESS) {
      return std::nullopt;
    }
    if (key != "schema_version") continue;
    std::string_view version;
    if (field.value().get_string().get(version) != simdjson::SUCCESS) {
      return std::nullopt;
    }
    return std::string(version);
  }
  return std::nullopt;
}

// The bytes stay whole (nothing is given back while walking), so that they
// can be scanned again after a failed walk.
Baseline read_bytes(char* data, std::size_t size, std::size_t capacity,
                    std::string const& path) {
  blank_byte_order_mark(data, size);
  Baseline baseline;
  baseline.path = path;
  // Unknown fields are ignored without a word, so the reader has no
  // warnings to give.
  std::ostringstream no_warnings;
  std::string const label = path;
  JsonReader json(std::string_view(data, size), label, no_warnings, false);
  simdjson::padded_string_view const bytes(data, size, capacity);
  BaselineReader reader(json);
  try {
    reader.read(bytes, baseline);
  } catch (InputError const&) {
    if (reader.version_seen()) throw;
    std::optional<std::string> version = find_version(bytes);
    if (!version) {
      // An object with no schema_version at its top is no report; broken
      // JSON keeps the error that names its place.
      ondemand::parser parser;
      ondemand::document doc;
      ondemand::object root;
      if (parser.iterate(bytes).get(doc) == simdjson::SUCCESS &&
          doc.get_object().get(root) == simdjson::SUCCESS) {
        bool complete = true;
        for (auto member : root) {
          ondemand::field field;
          if (std::move(member).get(field) != simdjson::SUCCESS) {
            complete = false;
            break;
          }
        }
        if (complete) throw InputError("", kNotAReport);
      }
      throw;
    }
    check_version(*version, "schema_version");
    throw;
  }
  return baseline;
}

}  // namespace

namespace {

// FNV-1a over the name's bytes, then mixed so that the low bits, which
// pick the slot, depend on all of it.
std::uint64_t hash_of(std::string_view name) {
  std::uint64_t hash = 0xcbf29ce484222325ULL;
  for (char const c : name) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
  }
  hash ^= hash >> 33;
  hash *= 0xff51afd7ed558ccdULL;
  hash ^= hash >> 33;
  return hash;
}

}  // namespace

// The slot of `name`, or of the empty slot where it would go.
std::size_t HostTable::slot_of(std::string_view name) const {
  std::size_t const mask = slots_.size() - 1;
  std::uint64_t const hash = hash_of(name);
  for (std::size_t slot = hash & mask;; slot = (slot + 1) & mask) {
    std::uint32_t const held = slots_[slot];
    if (held == 0) return slot;
    if (hashes_[held - 1] == hash && names_[held - 1] == name) return slot;
  }
}

void HostTable::grow() {
  std::vector<std::uint32_t> old(std::max<std::size_t>(64, slots_.size() * 2),
                                 0);
  old.swap(slots_);
  std::size_t const mask = slots_.size() - 1;
  for (std::size_t i = 0; i < names_.size(); ++i) {
    std::size_t slot = hashes_[i] & mask;
    while (slots_[slot] != 0) slot = (slot + 1) & mask;
    slots_[slot] = static_cast<std::uint32_t>(i + 1);
  }
}

std::uint32_t HostTable::index(std::string_view name) {
  if ((names_.size() + 1) * 2 > slots_.size()) grow();
  std::size_t const slot = slot_of(name);
  if (slots_[slot] != 0) return slots_[slot] - 1;
  auto const index = static_cast<std::uint32_t>(names_.size());
  names_.emplace_back(name);
  hashes_.push_back(hash_of(name));
  slots_[slot] = index + 1;
  return index;
}

std::uint32_t HostTable::find(std::string_view name) const {
  if (slots_.empty()) return npos;
  std::uint32_t const held = slots_[slot_of(name)];
  return held == 0 ? npos : held - 1;
}

std::vector<std::string> Baseline::nodes_of(BaselineIssue const& issue) const {
  std::vector<std::string> names;
  names.reserve(issue.nodes.size());
  for (std::uint32_t index : issue.nodes) names.push_back(hosts.name(index));
  std::sort(names.begin(), names.end());
  return names;
}

void Baseline::add_issue(IssueKind kind, std::string id, std::string message,
                         std::vector<std::string> const& names,
                         std::string first_seen) {
  BaselineIssue issue{
      kind, std::move(id), std::move(message), "", {}, std::move(first_seen),
      {}};
  for (auto const& name : names) issue.nodes.push_back(hosts.index(name));
  std::sort(issue.nodes.begin(), issue.nodes.end());
  issue.nodes.erase(std::unique(issue.nodes.begin(), issue.nodes.end()),
                    issue.nodes.end());
  issues.push_back(std::move(issue));
}

Baseline read_baseline(std::string const& path) {
  InputBytes bytes = read_input(path, simdjson::SIMDJSON_PADDING);
  return read_bytes(bytes.data(), bytes.size(), bytes.capacity(), path);
}

EarlyBaseline::EarlyBaseline(std::optional<std::string> const& path) {
  if (!path) return;
  label_ = *path == "-" ? "(standard input)" : *path;
  pending_ = std::async(std::launch::async,
                        [path = *path]() -> std::optional<Baseline> {
                          return read_baseline(path);
                        });
}

EarlyBaseline::EarlyBaseline(std::string label,
                             std::function<std::optional<Baseline>()> read)
    : label_(std::move(label)),
      pending_(std::async(std::launch::async, std::move(read))) {}

std::optional<Baseline> EarlyBaseline::take(std::string& label) {
  if (!pending_.valid()) return std::nullopt;
  std::string const current = std::exchange(label, label_);
  std::optional<Baseline> taken = pending_.get();
  label = current;
  return taken;
}

Baseline read_baseline_text(std::string_view text, std::string const& path) {
  std::string copy(text);
  copy.append(simdjson::SIMDJSON_PADDING, '\0');
  return read_bytes(copy.data(), text.size(), copy.size(), path);
}

}  // namespace cli
}  // namespace vesk
