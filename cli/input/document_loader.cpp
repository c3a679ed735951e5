// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: document_loader.cpp
//
// The document's shape: which keys it has, of which types, and into which
// Config fields they go. The walk itself (key paths, strings, positions)
// is the JsonReader's; the definition tree is checked and linked by
// definition_tree once every definition is known.

#include "cli/input/document_loader.hpp"

#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/input/byte_source.hpp"
#include "cli/input/definition_tree.hpp"
#include "cli/input/host_name.hpp"
#include "cli/input/json_reader.hpp"
#include "cli/input/sliced_loading.hpp"
#include "vesk/common/vocabulary.hpp"

#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

static_assert(kMaxInputSize == simdjson::SIMDJSON_MAXSIZE_BYTES,
              "inputs are bounded by what the parser takes");

using simdjson::error_code;
namespace ondemand = simdjson::ondemand;

// Walks one document into a Config. With `slices`, the elements of the
// result arrays are only noted there, to be loaded by load_results().
class DocumentLoader {
 public:
  DocumentLoader(JsonReader& json, Config& config, LoadedSettings& settings,
                 ArraySlices* slices = nullptr)
      : json_(json), config_(config), settings_(settings), slices_(slices) {}

  void load(simdjson::padded_string_view bytes);
  // The results of the array `value` onto `results`, numbered from
  // `first_sequence`.
  void load_results(ondemand::value& value, std::int64_t first_sequence,
                    std::vector<std::shared_ptr<AnalysisOutput>>& results);

 private:
  void load_node(ondemand::value& value);
  std::shared_ptr<AnalysisOutput> load_output(ondemand::value& value);
  void load_definition(ondemand::value& value);
  void load_string_lists(ondemand::value& value,
                         std::map<std::string, std::vector<std::string>>& map);
  void load_nested_map(ondemand::value& value);
  void check_host(std::string const& name) const;

  JsonReader& json_;
  Config& config_;
  LoadedSettings& settings_;
  ArraySlices* slices_;
  // The framework definitions in document order, kept until every
  // definition is known, so children may be named before they are defined.
  std::vector<DefinitionRecord> definitions_;
  std::vector<std::shared_ptr<Fwd>> fwds_;
  std::int64_t sequence_ = 0;
  std::vector<std::string> names_;  // one result's node names, reused
};

void DocumentLoader::load(simdjson::padded_string_view bytes) {
  ondemand::object root = json_.open(bytes);
  json_.for_each_member(root, [&](std::string const& key,
                                  ondemand::value& value) {
    if (key == "overall_pass") {
      config_.overall_pass = json_.get_bool(value);
    } else if (key == "severity_threshold") {
      config_.severity_threshold = json_.get_int32(value);
    } else if (key == "log_level") {
      std::string level = json_.get_string(value);
      if (log_levels.count(level) == 0) {
        json_.fail("expected one of " + log_level_names());
      }
      settings_.log_level = std::move(level);
    } else if (key == "config_text") {
      config_.config_text = json_.get_string(value);
    } else if (key == "name_list") {
      config_.name_list = json_.get_strings(value);
    } else if (key == "nodes") {
      json_.for_each_element(value, "an array of nodes",
                             [&](ondemand::value& item) { load_node(item); });
    } else if (key == "diagnoses" || key == "observations" ||
               key == "secondary_observations") {
      auto& list = key == "diagnoses"      ? config_.diagnoses
                   : key == "observations" ? config_.observations
                                           : config_.secondary_observations;
      if (slices_ != nullptr) {
        slices_->defer(value, list);
      } else {
        load_results(value, sequence_, list);
      }
    } else if (key == "diagnosis_observations") {
      load_string_lists(value, config_.diagnosis_observations);
    } else if (key == "observation_signs") {
      load_string_lists(value, config_.observation_signs);
    } else if (key == "nested_map") {
      load_nested_map(value);
    } else if (key == "framework_definitions") {
      json_.for_each_element(
          value, "an array of framework definitions",
          [&](ondemand::value& item) { load_definition(item); });
    } else {
      json_.unknown_key(value);
    }
  });
  json_.finish();
  link_definition_tree(check_definition_tree(definitions_), fwds_,
                       *config_.fwd_attributes);
}

void DocumentLoader::load_results(
    ondemand::value& value, std::int64_t first_sequence,
    std::vector<std::shared_ptr<AnalysisOutput>>& results) {
  sequence_ = first_sequence;
  json_.for_each_element(
      value, "an array of results",
      [&](ondemand::value& item) { results.push_back(load_output(item)); });
}

// A node: a plain host name, or an object with "hostname" (required),
// "name" (default: the host name), "roles" and "groups".
void DocumentLoader::load_node(ondemand::value& value) {
  Node node;
  ondemand::json_type type;
  if (error_code e = value.type().get(type)) {
    json_.fail_json(e, "a host name or a node object");
  }
  if (type == ondemand::json_type::string) {
    node.hostname = json_.get_string(value);
    node.name = node.hostname;
    check_host(node.hostname);
  } else {
    bool has_hostname = false;
    bool has_name = false;
    json_.for_each_member(value, "a host name or a node object",
                          [&](std::string const& key, ondemand::value& member) {
                            if (key == "hostname") {
                              node.hostname = json_.get_string(member);
                              check_host(node.hostname);
                              has_hostname = true;
                            } else if (key == "name") {
                              node.name = json_.get_string(member);
                              has_name = true;
                            } else if (key == "roles") {
                              node.roles = json_.get_strings(member);
                            } else if (key == "groups") {
                              for (auto& group : json_.get_strings(member)) {
                                node.groups.insert(std::move(group));
                              }
                            } else {
                              json_.unknown_key(member);
                            }
                          });
    if (!has_hostname) json_.fail("expected the required key \"hostname\"");
    if (!has_name) node.name = node.hostname;
  }
  config_.nodes.push_back(std::move(node));
}

std::shared_ptr<AnalysisOutput> DocumentLoader::load_output(
    ondemand::value& value) {
  using namespace std::string_view_literals;
  auto output = std::make_shared<AnalysisOutput>();
  output->sequence = sequence_++;
  bool has_id = false;
  bool has_severity = false;
  json_.for_each_member(
      value, "a result object",
      [&](std::string const& key_text, ondemand::value& member) {
        // Compared as views: a key of another length is told apart without
        // looking at its bytes (this runs for every key of every result).
        std::string_view const key = key_text;
        if (key == "id"sv) {
          output->id = json_.get_string(member);
          has_id = true;
        } else if (key == "message"sv) {
          output->message = json_.get_string(member);
        } else if (key == "remedy"sv) {
          output->remedy = json_.get_string(member);
        } else if (key == "severity"sv) {
          output->severity = json_.get_int32(member);
          has_severity = true;
          if (output->severity < 0 || output->severity > 100) {
            json_.warn("severity " + std::to_string(output->severity) +
                       " is outside 0..100; kept as given");
          }
        } else if (key == "nodes"sv) {
          // Gathered first, so the result's list is allocated once, at its
          // size.
          names_.clear();
          json_.for_each_element(member, "an array of host names",
                                 [&](ondemand::value& item) {
                                   names_.push_back(json_.get_string(item));
                                   check_host(names_.back());
                                 });
          output->nodes.assign(std::make_move_iterator(names_.begin()),
                               std::make_move_iterator(names_.end()));
        } else if (key == "suppressed"sv) {
          output->suppressed = json_.get_bool(member);
        } else if (key == "row_ids"sv) {
          json_.for_each_element(
              member, "an array of row ids", [&](ondemand::value& item) {
                output->row_ids.insert(json_.get_int32(item));
              });
        } else {
          json_.unknown_key(member);
        }
      });
  if (!has_id) json_.fail("expected the required key \"id\"");
  if (!has_severity) json_.fail("expected the required key \"severity\"");
  return output;
}

void DocumentLoader::load_definition(ondemand::value& value) {
  // The definition's place counts the definitions read so far, the same
  // as its key path (the key "framework_definitions" is met only once).
  DefinitionRecord record;
  record.place =
      "framework_definitions[" + std::to_string(definitions_.size()) + "]";
  auto fwd = std::make_shared<Fwd>();
  bool has_name = false;
  json_.for_each_member(
      value, "a framework definition object",
      [&](std::string const& key, ondemand::value& member) {
        if (key == "name") {
          fwd->name = json_.get_string(member);
          has_name = true;
          if (config_.fwd_attributes->fwds.count(fwd->name) != 0) {
            json_.fail("expected a name not defined before, found \"" +
                       fwd->name + "\" again");
          }
        } else if (key == "title") {
          fwd->title = json_.get_string(member);
        } else if (key == "rules") {
          for (auto& rule : json_.get_strings(member)) {
            fwd->rule_names.insert(std::move(rule));
          }
        } else if (key == "skipped") {
          fwd->skipped = json_.get_bool(member);
        } else if (key == "children") {
          json_.for_each_element(
              member, "an array of branches", [&](ondemand::value& branch) {
                record.branches.emplace_back();
                json_.for_each_element(
                    branch, "an array of definition names",
                    [&](ondemand::value& child) {
                      record.branches.back().push_back(
                          {json_.get_string(child), json_.path()});
                    });
              });
        } else {
          json_.unknown_key(member);
        }
      });
  if (!has_name) json_.fail("expected the required key \"name\"");
  record.name = fwd->name;
  config_.fwd_attributes->fwd_name_order.push_back(fwd->name);
  config_.fwd_attributes->fwds[fwd->name] = fwd;
  definitions_.push_back(std::move(record));
  fwds_.push_back(std::move(fwd));
}

void DocumentLoader::load_string_lists(
    ondemand::value& value,
    std::map<std::string, std::vector<std::string>>& map) {
  json_.for_each_member(value, "an object of string arrays",
                        [&](std::string const& key, ondemand::value& member) {
                          map[key] = json_.get_strings(member);
                        });
}

void DocumentLoader::load_nested_map(ondemand::value& value) {
  json_.for_each_member(
      value, "an object of objects",
      [&](std::string const& outer, ondemand::value& inner) {
        auto& level = config_.nested_map[outer];
        json_.for_each_member(
            inner, "an object of string arrays",
            [&](std::string const& key, ondemand::value& list) {
              auto& set = level[key];
              for (auto& item : json_.get_strings(list)) {
                set.insert(std::move(item));
              }
            });
      });
}

// A name that the report merges into a host list: its numbers must fit
// in 32 bits, or the merging would fail after half the report.
void DocumentLoader::check_host(std::string const& name) const {
  if (!host_numbers_fit(name)) json_.fail(host_numbers_error(name));
}

// Loads a big document with its result arrays in slices (sliced_loading).
// False when that gave up (bytes.text() may then have been given back in
// part); `config` and `settings` are then partly filled.
bool load_in_slices(InputBytes& bytes, std::string const& label, Config& config,
                    LoadedSettings& settings, std::ostream& warn,
                    bool& released) {
  ArraySlices slices(bytes.text(), slicing_settings().elements);
  std::ostringstream warnings;
  try {
    {
      // The first walk's parser, and its index of the whole document, go
      // at the end of this block.
      JsonReader json(bytes.text(), label, warnings, false);
      DocumentLoader(json, config, settings, &slices)
          .load(simdjson::padded_string_view(bytes.data(), bytes.size(),
                                             bytes.capacity()));
    }
    slices.load(bytes.data(), bytes.releasable(),
                [&](JsonReader& json, ondemand::value& array,
                    std::int64_t first_sequence, ArraySlices::Results& list) {
                  DocumentLoader(json, config, settings)
                      .load_results(array, first_sequence, list);
                });
  } catch (...) {
    released = slices.released();
    return false;
  }
  warn << warnings.str();
  return true;
}

}  // namespace

std::string log_level_names() {
  std::string names;
  for (auto const& [name, level] : log_levels) {
    (void)level;
    if (!names.empty()) names += ", ";
    names += name;
  }
  return names;
}

void load_text(std::string_view text, std::string const& label, Config& config,
               LoadedSettings& settings, std::ostream& warn) {
  simdjson::padded_string bytes(text.data(), text.size());
  blank_byte_order_mark(bytes.data(), bytes.size());
  JsonReader json(std::string_view(bytes.data(), bytes.size()), label, warn,
                  false);
  DocumentLoader(json, config, settings).load(bytes);
}

void load_file(std::string const& path, std::string const& label,
               Config& config, LoadedSettings& settings, std::ostream& warn) {
  InputBytes bytes = read_input(path, simdjson::SIMDJSON_PADDING);
  blank_byte_order_mark(bytes.data(), bytes.size());
  if (bytes.size() >= slicing_settings().min_bytes) {
    bool released = false;
    if (load_in_slices(bytes, label, config, settings, warn, released)) {
      ++slicing_settings().sliced_loads;
      return;
    }
    // Any problem: the document is loaded again in one walk, which names it
    // as it always has.
    config = Config();
    settings = LoadedSettings();
    if (released) {
      bytes = read_input(path, simdjson::SIMDJSON_PADDING);
      blank_byte_order_mark(bytes.data(), bytes.size());
    }
  }
  JsonReader json(bytes.text(), label, warn, bytes.releasable());
  DocumentLoader(json, config, settings)
      .load(simdjson::padded_string_view(bytes.data(), bytes.size(),
                                         bytes.capacity()));
}

}  // namespace cli
}  // namespace vesk
